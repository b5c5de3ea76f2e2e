#include "util/json_members.h"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <locale.h>
#include <memory>
#include <new>
#include <utility>

namespace korvane {

namespace {

/// What json-c has no memory for it drops, a member, the rest of a text, and returns as if nothing had been: errno alone
/// tells. An allocation that succeeds in the end may set it too, so a second try decides: it finds the memory that the
/// first one gave back.
template <class Make>
auto made_whole(Make make)
{
    constexpr int tries = 2;
    for (int i = 0; i < tries; ++i) {
        errno = 0;
        auto made = make();
        if (errno != ENOMEM) {
            return made;
        }
    }
    throw std::bad_alloc();
}

/// Numbers are read with a decimal point, whatever the host's locale. json-c sees to that too, by a copy of the thread's
/// locale for each text, made under a lock of the whole process, which a forked child may find taken for ever. Of this
/// locale, a constant of glibc, it makes no copy, which also is 4 % of an insert's instructions.
class in_c_locale {
public:
    in_c_locale()
        : locale_(newlocale(LC_ALL_MASK, "C", nullptr))
        , before_(uselocale(locale_))
    {
    }
    ~in_c_locale()
    {
        uselocale(before_);
        freelocale(locale_);
    }
    in_c_locale(const in_c_locale&) = delete;
    in_c_locale& operator=(const in_c_locale&) = delete;

private:
    locale_t locale_;
    locale_t before_;
};

/// Deeper than any report or reply that means something. The tokener's stack for json-c's own 32 levels is a block of
/// 1 KiB, which the heap gives only after tidying up its small ones: 16 levels spare an insert a tenth of its
/// instructions.
constexpr int usual_depth = 16;

struct parsed {
    json_owner tree;
    bool too_deep;
};

parsed parse_to_depth(const char* text, int depth)
{
    const std::unique_ptr<json_tokener, void (*)(json_tokener*)> tokener(json_tokener_new_ex(depth),
                                                                         json_tokener_free);
    if (tokener == nullptr) {
        return {};
    }
    json_owner tree(json_tokener_parse_ex(tokener.get(), text, -1));
    const json_tokener_error error = json_tokener_get_error(tokener.get());
    if (error != json_tokener_success) {
        tree.reset();
    }
    return {std::move(tree), error == json_tokener_error_depth};
}

} // namespace

json_owner parse_json(const char* text)
{
    const in_c_locale scope;
    return made_whole([text] {
        parsed result = parse_to_depth(text, usual_depth);
        return result.too_deep ? parse_to_depth(text, JSON_TOKENER_DEFAULT_DEPTH).tree
                               : std::move(result.tree);
    });
}

json_owner made_json(json_object* value)
{
    if (value == nullptr) {
        throw std::bad_alloc();
    }
    return json_owner(value);
}

json_owner make_json_object()
{
    return made_json(json_object_new_object());
}

json_owner make_json_text(std::string_view text)
{
    return made_json(json_object_new_string_len(text.data(), static_cast<int>(text.size())));
}

json_owner make_json_number(int value)
{
    return made_json(json_object_new_int(value));
}

void add_json_member(json_object* object, const char* key, json_owner value)
{
    if (json_object_object_add(object, key, value.get()) != 0) {
        throw std::bad_alloc();
    }
    static_cast<void>(value.release());
}

void add_json_members(json_object* object, named_json* first, const named_json* last)
{
    named_json* next = first;
    try {
        for (; next != last; ++next) {
            if (next->value) {
                add_json_member(object, next->key, std::move(next->value));
            }
        }
    } catch (const std::bad_alloc&) {
        while (next != first) {
            json_object_object_del(object, (--next)->key);
        }
        throw;
    }
}

void add_new_json_member(json_object* object, const char* lasting_key, json_owner value)
{
    constexpr unsigned new_and_lasting = JSON_C_OBJECT_ADD_KEY_IS_NEW | JSON_C_OBJECT_KEY_IS_CONSTANT;
    if (json_object_object_add_ex(object, lasting_key, value.get(), new_and_lasting) != 0) {
        throw std::bad_alloc();
    }
    static_cast<void>(value.release());
}

void add_json_element(json_object* array, json_owner value)
{
    if (json_object_array_add(array, value.get()) != 0) {
        throw std::bad_alloc();
    }
    static_cast<void>(value.release());
}

json_object* json_member(json_object* object, const char* key)
{
    json_object* value = nullptr;
    if (key != nullptr) {
        json_object_object_get_ex(object, key, &value);
    }
    return value;
}

json_object* json_array_member(json_object* object, const char* key)
{
    json_object* value = json_member(object, key);
    return json_object_is_type(value, json_type_array) ? value : nullptr;
}

bool is_json_scalar(json_object* value)
{
    const json_type type = json_object_get_type(value); // null's own for null
    return type != json_type_null && type != json_type_object && type != json_type_array;
}

std::string_view json_text(json_object* value)
{
    if (value == nullptr) {
        return {};
    }
    if (json_object_is_type(value, json_type_string)) {
        return json_object_get_string(value);
    }
    const char* text = made_whole([value] { return json_object_get_string(value); });
    if (text == nullptr) {
        throw std::bad_alloc();
    }
    return text;
}

std::string_view json_text(json_object* value, integer_text& room)
{
    if (!json_object_is_type(value, json_type_int)) {
        return json_text(value);
    }
    const char* end = std::to_chars(room.data(), room.data() + room.size(), json_object_get_int64(value)).ptr;
    return {room.data(), static_cast<std::size_t>(end - room.data())};
}

namespace {

/// For the exported getters, which have no result to tell by that there is no memory: a member without a text is left out.
const char* text_or_null(json_object* value)
{
    try {
        return value ? json_text(value).data() : nullptr;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

} // namespace

char* copy_json_text(json_object* value)
{
    const std::string_view text = json_text(value);
    auto* copy = static_cast<char*>(std::malloc(text.size() + 1));
    if (copy == nullptr) {
        throw std::bad_alloc();
    }
    std::memcpy(copy, text.data(), text.size());
    copy[text.size()] = '\0';
    return copy;
}

long long json_text_number(json_object* value)
{
    if (value == nullptr) {
        return 0;
    }
    if (json_object_is_type(value, json_type_int)) {
        return json_object_get_int64(value); // what its text would say, without printing it
    }
    return std::strtoll(json_text(value).data(), nullptr, 10);
}

double json_number(json_object* value)
{
    if (!json_object_is_type(value, json_type_string)) {
        return json_object_get_double(value);
    }
    const in_c_locale scope;
    const char* text = json_object_get_string(value);
    char* end = nullptr;
    errno = 0;
    const double number = std::strtod(text, &end);
    // As json-c reads texts: nothing but a number counts, and one too large for a double is none.
    const bool too_large = std::isinf(number) && errno == ERANGE;
    const bool usable = end != text && *end == '\0' && !too_large;
    return usable ? number : 0.0;
}

int json_int_member(json_object* object, const char* key, int missing)
{
    get_json_int(object, key, &missing);
    return missing;
}

} // namespace korvane

void get_json_int(json_object* object, const char* key, int* out)
{
    json_object* value = korvane::json_member(object, key);
    if (value && out) {
        *out = json_object_get_int(value);
    }
}

void get_json_string(json_object* object, const char* key, char* out)
{
    const char* text = korvane::text_or_null(korvane::json_member(object, key));
    if (text && out) {
        std::memcpy(out, text, std::strlen(text) + 1);
    }
}

void get_json_double(json_object* object, const char* key, double* out)
{
    json_object* value = korvane::json_member(object, key);
    if (value && out) {
        *out = korvane::json_number(value);
    }
}

void get_json_timestamp(json_object* object, long long* out)
{
    const char* text = korvane::text_or_null(korvane::json_member(object, "timestamp"));
    if (text && out) {
        *out = std::strtoll(text, nullptr, 10);
    }
}
