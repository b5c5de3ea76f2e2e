#include "result_text.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <korvane/ai_metadata.h>

namespace host {
namespace {

struct advice_row {
    unsigned int code;
    const char* advice;
};

// What the person in front of the code can do about it, in the order of korvane::result_meanings.
// clang-format off
constexpr advice_row advice_rows[] = {
    {0,          "nothing"},
    {0xC4080001, "read the log line: it names the member (\"get channel_sid failed\": the report has no \"channel_sid\"). "
                 "Check that the text is JSON and that no value is of another type, too long, or holds control characters"},
    {0xC4080002, "write \"function_name\" exactly as the kind is named, such as \"HumanDetection\": letter case and blanks count"},
    {0xC4080003, "the host passed a null pointer instead of a request text: mend the calling code"},
    {0xC4080004, "give x and y as fractions of the picture, 0.0 (left, top) to 1.0 (right, bottom), not as pixels"},
    {0xC4080005, "create the vault \"IVA\" in the store, or connect to the store that has it"},
    {0xC4080007, "ask for \"15-min\", \"hour\" or \"day\""},
    {0xC4080010, "widen the filter: a longer time range, more channels; nothing is wrong with the request"},
    {0xFFFFFFFF, "see that the store runs: korvane-store listens on 127.0.0.1:10158. If it does, look into the store's own "
                 "log: it closed the connection or answered without a body"},
    {0xFFFFFFFE, "the connection broke while sending: see whether the store has just stopped, then send again"},
    {0xFFFFFFFD, "see whether the store has just stopped, or another program listens on port 10158"},
    {0xFFFFFFFC, "look into the store's own log for the status and its reason"},
    {0xFFFFFFFB, "the connection broke while reading: see whether the store has just stopped, then ask again"},
    {0xFFFFFF9B, "widen the filter; nothing is wrong with the request"},
};
// clang-format on

constexpr bool every_meaning_has_its_advice()
{
    if (std::size(advice_rows) != std::size(korvane::result_meanings)) {
        return false;
    }
    for (size_t row = 0; row < std::size(advice_rows); ++row) {
        if (advice_rows[row].code != korvane::result_meanings[row].code) {
            return false;
        }
    }
    return true;
}
static_assert(every_meaning_has_its_advice());

bool has_hexadecimal_letter(const std::string& text)
{
    return text.find_first_of("abcdefABCDEFxX") != std::string::npos;
}

} // namespace

result_text explain_result(unsigned int code)
{
    for (size_t row = 0; row < std::size(korvane::result_meanings); ++row) {
        const korvane::result_meaning& known = korvane::result_meanings[row];
        if (known.code == code) {
            return {known.name, known.meaning, advice_rows[row].advice};
        }
    }
    return {"store_answer", "the store's own answer: the \"ret\" of its reply, passed on unchanged",
            "look into the store's own log or manual for this number"};
}

std::string result_title(unsigned int code)
{
    char numbers[40];
    std::snprintf(numbers, sizeof numbers, "0x%08X (%d) ", code, static_cast<int>(code));
    return numbers + explain_result(code).name;
}

std::optional<unsigned int> parse_result(const std::string& text)
{
    for (const korvane::result_meaning& known : korvane::result_meanings) {
        if (text == known.name) {
            return known.code;
        }
    }
    if (text.empty() || text.find_first_not_of("+-0123456789abcdefABCDEFxX") != std::string::npos) {
        return std::nullopt;
    }
    char* end = nullptr;
    errno = 0;
    const long long value = std::strtoll(text.c_str(), &end, has_hexadecimal_letter(text) ? 16 : 10);
    if (errno != 0 || *end != '\0' || end == text.c_str() || value < INT_MIN || value > UINT_MAX) {
        return std::nullopt;
    }
    return static_cast<unsigned int>(value);
}

} // namespace host
