// Cuts an input into reports. A report is a JSON object, on one line or on many; between reports there may be
// blanks, line ends and the brackets and commas of an array, so JSON Lines, one document per file and an
// array of reports all read alike. What is no JSON is cut out as a report too: judging it is not the
// splitter's task, and nothing is lost.
#pragma once

#include <json-c/json.h>
#include <memory>
#include <optional>
#include <string>

namespace host {

/// Where and why a text is no JSON, for people.
struct json_fault {
    long line;   ///< in the input, from 1
    long column; ///< in bytes, from 1
    std::string reason;
    std::string excerpt; ///< what stands there, shortened; empty at the end
};

struct report {
    std::string text;
    long line = 1;     ///< of its first byte, from 1
    long long end = 0; ///< bytes of input up to its end
    std::optional<json_fault> fault;
};

class report_splitter {
public:
    report_splitter();

    /// Adds the input's next bytes.
    void feed(const char* bytes, size_t size);

    /// Says that there are no more.
    void finish() { finished_ = true; }

    /// Takes the next complete report; nothing when more input is needed, or when finished and all is taken.
    std::optional<report> next();

private:
    struct tokener_release {
        void operator()(json_tokener* tokener) const { json_tokener_free(tokener); }
    };

    void skip_to_report();
    std::optional<report> next_line();
    std::optional<report> next_object();
    std::optional<report> next_broken_object();
    size_t end_of_broken_object();
    json_fault fault_at(size_t at, const char* reason) const;
    report take(size_t end);

    std::string buffer_;  // input from the first report not taken
    long long taken_ = 0; // bytes of input before buffer_
    long line_ = 1;       // of start_
    size_t start_ = 0;    // of the report in hand, in buffer_
    size_t parsed_ = 0;   // how far tokener_ has come
    bool finished_ = false;
    std::unique_ptr<json_tokener, tokener_release> tokener_;

    // The search for the end of an object that is no JSON goes on where it stood when the input ran out.
    struct broken_object {
        const char* reason;
        size_t fault;
        size_t scanned;
        long depth;
        bool in_text;
    };
    std::optional<broken_object> broken_;
};

/// Where `text` is no JSON object, if it is none.
std::optional<json_fault> find_fault(const std::string& text);

/// "line 3, column 18: object value separator ',' expected: oops}".
std::string describe(const json_fault& fault);

} // namespace host
