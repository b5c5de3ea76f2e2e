// Copying texts into the fixed fields of records. What happens to a text that does not fit stands at each
// call, by the name of the rule; there is no default.
#pragma once

#include <cstddef>
#include <cstring>
#include <string_view>

namespace korvane {

/// A char array to copy into; its size includes the terminator.
struct text_field {
    char* data;
    std::size_t size;

    template <std::size_t array_size>
    text_field(char (&array)[array_size]) // NOLINT(google-explicit-constructor): an array is a field
        : data(array)
        , size(array_size)
    {
    }
};

/// Copies `text`, or ends the process when it does not fit, with a line on standard error that says which
/// `name` it was.
void abort_if_long(text_field field, std::string_view text, const char* name);

/// Copies as much of `text` as fits, without splitting a UTF-8 letter.
void cut(text_field field, std::string_view text);

/// Copies as much of `text` as fits, to the byte: for the fields whose cut is part of the interface.
void cut_bytes(text_field field, std::string_view text);

/// Copies texts as long as they fit. The first that does not is remembered, and nothing is copied after it;
/// whoever fills the record asks once, at the end.
class refuse_if_long {
public:
    void operator()(text_field field, std::string_view text, const char* name);

    /// The name of the text that did not fit; null when all did.
    const char* refused() const { return refused_; }
    std::size_t length() const { return length_; }
    std::size_t limit() const { return limit_; }

private:
    const char* refused_ = nullptr;
    std::size_t length_ = 0;
    std::size_t limit_ = 0;
};

/// The text of a field, up to its terminator or its end.
template <std::size_t size>
std::string_view text_of(const char (&field)[size])
{
    return {field, strnlen(field, size)};
}

} // namespace korvane
