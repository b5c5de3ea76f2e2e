#include "tests/wire/case_file.h"

#include "tests/wire/placeholders.h"

#include <korvane/ai_metadata.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <map>
#include <stdexcept>
#include <utility>

namespace korvane::test {

namespace {

struct source_line {
    std::string_view text;
    int number = 0;
};

/// "--- word argument", and the lines up to the next such line.
struct section {
    int line = 0;
    std::string_view word;
    std::string_view argument;
    std::vector<source_line> body;
};

/// What a "let" names.
struct named_text {
    expected_text text;
    int line = 0;
};
using named_texts = std::map<std::string, named_text, std::less<>>;

/// Thrown where a section cannot be read; the file goes on with the next one.
struct section_error : std::invalid_argument {
    section_error(int at, const std::string& what)
        : std::invalid_argument(what)
        , line(at)
    {
    }
    int line;
};

class case_parser {
public:
    explicit case_parser(const std::string& path)
        : path_(path)
    {
    }

    case_file parse(std::string_view text);

private:
    using reader = void (case_parser::*)(const section&);
    struct section_kind {
        std::string_view word;
        reader read;
        bool repeats;
        bool has_text;
    };
    static const section_kind kinds[];

    void check_trailing_blank(const source_line& line);
    void take_line(const source_line& line);
    void begin_case(const source_line& line);
    void begin_section(const source_line& line);
    void finish_section();
    void read_section(const section& finished);
    void finish_case();

    void read_let(const section& finished);
    void read_call(const section& finished);
    void read_zone(const section& finished);
    void read_decimal_comma(const section& finished);
    void read_store(const section& finished);
    void read_request(const section& finished);
    void read_reply(const section& finished);
    void read_result(const section& finished);
    void read_aborts(const section& finished);
    void read_answer(const section& finished);
    void read_log(const section& finished);

    expected_text joined(const section& from, std::size_t first, std::size_t last, std::string_view between);
    expected_text whole(const section& from, std::string_view between = {});
    expected_text expanded(const source_line& line);
    std::string literal(const section& from, std::string_view purpose);
    const expected_text* use(std::string_view name);
    void error(int line, const std::string& what);

    const std::string& path_;
    std::string file_name_;
    case_file result_;
    named_texts names_;
    named_texts names_of_file_;
    std::map<int, std::string> unused_names_; ///< by their lines
    wire_case case_;
    bool in_case_ = false;
    bool cases_have_names_ = false;
    std::vector<std::string_view> words_seen_;
    std::optional<section> section_;
};

// clang-format off
const case_parser::section_kind case_parser::kinds[] = {
    // word          read by                            repeats  has text
    {"let",           &case_parser::read_let,           true,    true},
    {"call",          &case_parser::read_call,          false,   true},
    {"zone",          &case_parser::read_zone,          false,   false},
    {"decimal_comma", &case_parser::read_decimal_comma, false,   false},
    {"store",         &case_parser::read_store,         false,   false},
    {"request",       &case_parser::read_request,       true,    true},
    {"reply",         &case_parser::read_reply,         true,    true},
    {"result",        &case_parser::read_result,        false,   false},
    {"aborts",        &case_parser::read_aborts,        false,   true},
    {"answer",        &case_parser::read_answer,        false,   true},
    {"log",           &case_parser::read_log,           false,   true},
};
// clang-format on

std::string in_quotes(std::string_view text)
{
    return '"' + std::string(text) + '"';
}

std::string_view without_indentation(std::string_view line)
{
    const std::size_t begin = line.find_first_not_of(" \t");
    return begin == std::string_view::npos ? std::string_view() : line.substr(begin);
}

bool is_fact_name(std::string_view name)
{
    return !name.empty() && std::all_of(name.begin(), name.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_';
    });
}

/// "0", "-101", "0xC4080001", or a name of the public header's table.
std::optional<unsigned> read_code(const std::string& text)
{
    for (const result_meaning& meaning : result_meanings) {
        if (text == meaning.name) {
            return meaning.code;
        }
    }
    char* end = nullptr;
    errno = 0;
    const long long number = std::strtoll(text.c_str(), &end, 0);
    const bool usable =
        !text.empty() && *end == '\0' && errno == 0 && number >= INT_MIN && number <= UINT_MAX;
    return usable ? std::optional(static_cast<unsigned>(number)) : std::nullopt;
}

/// A log line's text with the # in the source line's place made <<line>>.
std::string with_line_placeholder(std::string_view text)
{
    const bool place_first = text.rfind("[korvane](", 0) == 0;
    const std::size_t at = text.find(place_first ? ":#) " : "(#)- ");
    std::string replaced(text);
    return at == std::string_view::npos ? replaced : replaced.replace(at + 1, 1, "<<line>>");
}

case_file case_parser::parse(std::string_view text)
{
    const std::size_t folder = path_.rfind('/') + 1; // npos + 1 is 0
    file_name_ = path_.substr(folder, path_.rfind(".case") - folder);
    if (!is_fact_name(file_name_)) {
        error(1,
              "the file is named " + in_quotes(file_name_) + "; expected lower-case letters, digits and _");
    }
    int number = 0;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        take_line({text.substr(0, end), ++number});
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    finish_section();
    finish_case();
    for (const auto& [line, name] : unused_names_) {
        error(line, "nothing uses the text named " + in_quotes(name));
    }
    if (result_.cases.empty() && result_.errors.empty()) {
        error(1, "no case; expected \"--- call\" with what follows it");
    }
    return std::move(result_);
}

void case_parser::take_line(const source_line& line)
{
    if (!line.text.empty() &&
        (line.text.back() == ' ' || line.text.back() == '\t' || line.text.back() == '\r')) {
        error(line.number, "blank at the end of the line; write <<blank>> if it belongs to the text");
    }
    if (line.text.rfind('#', 0) == 0) {
        return;
    }
    if (line.text.rfind("=== ", 0) == 0) {
        begin_case(line);
    } else if (line.text.rfind("--- ", 0) == 0) {
        begin_section(line);
    } else if (section_) {
        section_->body.push_back(line);
    } else if (!line.text.empty()) {
        error(line.number,
              "text outside of a section; expected # (a comment), === (a case) or --- (a section)");
    }
}

void case_parser::begin_case(const source_line& line)
{
    const std::string_view name = line.text.substr(4);
    finish_section();
    if (in_case_ && !cases_have_names_) {
        error(line.number, "a case with a name after one without; put === before the file's first case too");
    }
    finish_case();
    if (!is_fact_name(name)) {
        error(line.number,
              "the case is named " + in_quotes(name) + "; expected lower-case letters, digits and _");
    }
    if (!cases_have_names_) {
        names_of_file_ = names_;
    }
    cases_have_names_ = true;
    in_case_ = true;
    case_.name = file_name_ + '/' + std::string(name);
    case_.line = line.number;
}

void case_parser::begin_section(const source_line& line)
{
    finish_section();
    section next;
    next.line = line.number;
    const std::string_view heading = line.text.substr(4);
    const std::size_t blank = std::min(heading.find(' '), heading.size());
    next.word = heading.substr(0, blank);
    next.argument = heading.substr(std::min(blank + 1, heading.size()));
    section_ = next;
}

void case_parser::finish_section()
{
    if (!section_) {
        return;
    }
    const section finished = *std::exchange(section_, std::nullopt);
    try {
        read_section(finished);
    } catch (const section_error& failure) {
        error(failure.line, failure.what());
    }
}

void case_parser::read_section(const section& finished)
{
    const auto* kind = std::find_if(std::begin(kinds), std::end(kinds),
                                    [&](const section_kind& k) { return k.word == finished.word; });
    if (kind == std::end(kinds)) {
        std::string known;
        for (const section_kind& k : kinds) {
            known += (known.empty() ? "" : ", ") + std::string(k.word);
        }
        throw section_error(finished.line,
                            "unknown section " + in_quotes(finished.word) + "; expected one of " + known);
    }
    const bool seen = std::find(words_seen_.begin(), words_seen_.end(), finished.word) != words_seen_.end();
    if (seen && !kind->repeats) {
        throw section_error(finished.line, "a second section " + in_quotes(finished.word) + " in one case");
    }
    for (const source_line& line : finished.body) {
        if (!kind->has_text && !line.text.empty()) {
            throw section_error(line.number, "text under " + in_quotes(finished.word) + ", which has none");
        }
    }
    if (kind->read != &case_parser::read_let) {
        if (cases_have_names_ == false) {
            case_.line = in_case_ ? case_.line : finished.line;
            case_.name = file_name_;
        }
        in_case_ = true;
    }
    words_seen_.push_back(kind->word);
    (this->*kind->read)(finished);
}

void case_parser::finish_case()
{
    if (in_case_) {
        case_.file = path_;
        if (case_.call == nullptr) {
            error(case_.line, "the case has no usable section \"call\"");
        }
        if (case_.result.value.has_value() == case_.abort_message.value.has_value()) {
            error(case_.line, "the case needs one section \"result\" or \"aborts\"");
        }
        result_.cases.push_back(case_);
    }
    case_ = wire_case();
    in_case_ = false;
    words_seen_.clear();
    if (cases_have_names_) {
        names_ = names_of_file_;
    }
}

void case_parser::read_let(const section& finished)
{
    const std::string name(finished.argument);
    if (!is_fact_name(name) || is_placeholder(name)) {
        throw section_error(finished.line,
                            "\"let\" needs a name of its own; lower-case letters, digits and _");
    }
    if (!names_.emplace(name, named_text{whole(finished), finished.line}).second) {
        throw section_error(finished.line, "a second text named " + in_quotes(name));
    }
    unused_names_.emplace(finished.line, name);
}

void case_parser::read_call(const section& finished)
{
    const std::size_t blank = std::min(finished.argument.find(' '), finished.argument.size());
    const std::string_view name = finished.argument.substr(0, blank);
    const std::string_view rest = finished.argument.substr(blank);
    case_.call = find_call(name);
    if (case_.call == nullptr) {
        throw section_error(finished.line,
                            "unknown call " + in_quotes(name) + "; expected one of " + call_names());
    }
    if (!rest.empty() && rest != " null") {
        throw section_error(finished.line,
                            in_quotes(rest) + " after the call's name; expected nothing or null");
    }
    const std::string input = literal(finished, "the input");
    if (rest.empty()) {
        case_.input = input;
    } else if (!input.empty()) {
        throw section_error(finished.line, "a null input with a text");
    }
}

void case_parser::read_zone(const section& finished)
{
    if (finished.argument.empty()) {
        throw section_error(finished.line, "\"zone\" needs a time zone, such as CET-1CEST,M3.5.0,M10.5.0/3");
    }
    case_.zone = finished.argument;
}

void case_parser::read_decimal_comma(const section& finished)
{
    if (!finished.argument.empty()) {
        throw section_error(finished.line, "\"decimal_comma\" stands alone");
    }
    case_.decimal_comma = true;
}

void case_parser::read_store(const section& finished)
{
    if (finished.argument != "down") {
        throw section_error(finished.line,
                            "\"store\" is only ever \"store down\": nothing listens on the port");
    }
    case_.store_is_down = true;
}

void case_parser::read_request(const section& finished)
{
    // As in HTTP itself: the request line, an empty line, the body.
    const auto first = std::find_if(finished.body.begin(), finished.body.end(),
                                    [](const source_line& line) { return !line.text.empty(); });
    const auto border =
        std::find_if(first, finished.body.end(), [](const source_line& line) { return line.text.empty(); });
    const auto border_at = static_cast<std::size_t>(border - finished.body.begin());
    if (first == finished.body.end()) {
        throw section_error(finished.line,
                            "\"request\" needs a request line, an empty line and, if it has one, a body");
    }
    wire_exchange exchange;
    exchange.line = first->number;
    exchange.request_line = joined(finished, 0, border_at, {});
    exchange.body = joined(finished, border_at, finished.body.size(), {});
    case_.exchanges.push_back(exchange);
}

void case_parser::read_reply(const section& finished)
{
    if (case_.exchanges.empty() || case_.exchanges.back().reply) {
        throw section_error(finished.line, "a \"reply\" belongs to the \"request\" right before it");
    }
    const std::string text = literal(finished, "a reply");
    std::optional<scripted_reply>& reply = case_.exchanges.back().reply;
    if (finished.argument.empty()) {
        reply = json_reply(text);
    } else if (finished.argument == "raw") {
        reply = raw_reply(text);
    } else if (finished.argument == "none") {
        reply = raw_reply({});
    } else if (finished.argument == "reset") {
        reply = reset_after(text);
    } else if (const auto status = read_code(std::string(finished.argument));
               status && *status >= 100 && *status < 1000) {
        reply = http_reply(static_cast<int>(*status), text);
    } else {
        throw section_error(finished.line, "reply " + in_quotes(finished.argument) +
                                               "; expected nothing (200), a status, raw, none or reset");
    }
}

void case_parser::read_result(const section& finished)
{
    case_.result = {read_code(std::string(finished.argument)), finished.line};
    if (!case_.result.value) {
        throw section_error(finished.line,
                            "result " + in_quotes(finished.argument) +
                                "; expected a number, decimal or 0x..., or a name of result_meanings");
    }
}

void case_parser::read_aborts(const section& finished)
{
    case_.abort_message = {whole(finished), finished.line};
}

void case_parser::read_answer(const section& finished)
{
    // json-c writes a blank wherever its text can be broken.
    case_.answer = {whole(finished, " "), finished.line};
}

void case_parser::read_log(const section& finished)
{
    case_.log.line = finished.line;
    for (const source_line& line : finished.body) {
        const std::string_view text = without_indentation(line.text);
        if (!text.empty()) {
            const std::string with_place = with_line_placeholder(text);
            case_.log.value.push_back(expanded({with_place, line.number}));
        }
    }
}

/// Lines `first` to `last` as one text, without empty lines and indentation.
expected_text case_parser::joined(const section& from, std::size_t first, std::size_t last,
                                  std::string_view between)
{
    expected_text text;
    for (std::size_t i = first; i < last; ++i) {
        const source_line& line = from.body[i];
        if (line.text.empty()) {
            continue;
        }
        if (!text.empty()) {
            text.append(between);
        }
        text.append(expanded({without_indentation(line.text), line.number}));
    }
    return text;
}

expected_text case_parser::expanded(const source_line& line)
{
    try {
        return expand(line.text, [this](std::string_view name) { return use(name); });
    } catch (const std::invalid_argument& failure) {
        throw section_error(line.number, failure.what());
    }
}

const expected_text* case_parser::use(std::string_view name)
{
    const auto named = names_.find(name);
    if (named == names_.end()) {
        return nullptr;
    }
    unused_names_.erase(named->second.line);
    return &named->second.text;
}

expected_text case_parser::whole(const section& from, std::string_view between)
{
    return joined(from, 0, from.body.size(), between);
}

std::string case_parser::literal(const section& from, std::string_view purpose)
{
    const expected_text text = whole(from);
    if (!text.is_literal()) {
        throw section_error(from.line, "<<now>> cannot stand in " + std::string(purpose));
    }
    return text.spelled();
}

void case_parser::error(int line, const std::string& what)
{
    result_.errors.push_back(path_ + ':' + std::to_string(line) + ": " + what);
}

} // namespace

case_file parse_case_file(const std::string& path, std::string_view text)
{
    return case_parser(path).parse(text);
}

} // namespace korvane::test
