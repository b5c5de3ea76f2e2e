#include "util/text_checks.h"

#include "log/korvane_log.h"
#include "util/fixed_text.h"
#include "util/guarded.h"

#include <cstring>
#include <string>

using korvane::as_int;

int check_abnormal_char(const char* text)
{
    constexpr const char* abnormal = "?^|+*\\\"'/:;=,<>`";
    if (text == nullptr) {
        return as_int(korvane::result_null_request);
    }
    if (*text == ' ') {
        return -1;
    }
    const char* found = std::strpbrk(text, abnormal);
    if (found) {
        korvane::log_debug("[korvane](%s:%d) Abnormalch[z] : %c", __func__, __LINE__, *found);
        return -1;
    }
    return 0;
}

int removeBlank(char* text)
{
    if (text == nullptr) {
        return as_int(korvane::result_null_request);
    }
    char* kept = text;
    char* end = text;
    for (; *end != '\0'; ++end) {
        if (*end != ' ') {
            *kept++ = *end;
        }
    }
    std::memset(kept, ' ', static_cast<std::size_t>(end - kept));
    return static_cast<int>(kept - text);
}

namespace {

/// The characters between "timestamp": and the next comma, blanks aside; false when there are none such.
bool find_value(std::string text, char (&value)[15])
{
    constexpr std::string_view key = "\"timestamp\":";
    removeBlank(text.data());
    const std::size_t key_at = text.find(key);
    if (key_at == std::string::npos) {
        return false;
    }
    const std::size_t begin = key_at + key.size();
    const std::size_t comma = text.find(',', begin);
    if (comma == std::string::npos) {
        return false;
    }
    korvane::abort_if_long(value, std::string_view(text).substr(begin, comma - begin), "timestamp");
    return true;
}

int quote_timestamp(char* text)
{
    constexpr std::string_view member = "\"timestamp\"";
    constexpr std::size_t room = 2; // that the caller gives: two quotes
    const std::string original = text;
    const std::size_t member_at = original.find(member);
    char value[15];
    if (member_at == std::string::npos || !find_value(original, value)) {
        return as_int(korvane::result_bad_request);
    }
    const std::size_t comma = original.find(',', member_at);
    if (comma == std::string::npos) {
        return as_int(korvane::result_bad_request);
    }
    std::string quoted = original.substr(0, member_at);
    quoted.append(member).append(":\"").append(value).append("\"").append(original, comma);
    if (quoted.size() > original.size() + room) {
        return as_int(korvane::result_bad_request); // the value is another member's than the one rewritten
    }
    std::memcpy(text, quoted.c_str(), quoted.size() + 1);
    return 0;
}

} // namespace

int trans_time_to_string(char* text)
{
    if (text == nullptr) {
        return as_int(korvane::result_null_request);
    }
    return korvane::guarded(__func__, [&] { return quote_timestamp(text); });
}
