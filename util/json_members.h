// Reading and owning json-c objects.
#pragma once

#include <json-c/json.h>

#include <array>
#include <cstddef>
#include <memory>
#include <string_view>

/// Each looks `key` up in `object` and sets `*out` when the member is there (a null value is not); otherwise
/// `*out` keeps what it held. Values of another scalar type are converted as json-c does. `out` of the string
/// getter must have room for the text, which is copied whole.
void get_json_int(json_object* object, const char* key, int* out);
void get_json_string(json_object* object, const char* key, char* out);
void get_json_double(json_object* object, const char* key, double* out);

/// The same for the member "timestamp", a number or a decimal text: milliseconds.
void get_json_timestamp(json_object* object, long long* out);

namespace korvane {

struct json_release {
    void operator()(json_object* object) const { json_object_put(object); }
};

/// Owns an object; a raw json_object* only looks.
using json_owner = std::unique_ptr<json_object, json_release>;

/// Null when `text` is not JSON.
json_owner parse_json(const char* text);

json_owner make_json_object();
json_owner make_json_text(std::string_view text);
json_owner make_json_number(int value);

/// Takes the value over under a name, or at the end of an array; null is the JSON null.
void add_json_member(json_object* object, const char* key, json_owner value);
void add_json_element(json_object* array, json_owner value);

/// A member to be; null: none.
struct named_json {
    const char* key;
    json_owner value;
};

/// add_json_member for each, or for none: where one cannot be added those before it are taken out again.
void add_json_members(json_object* object, named_json* first, const named_json* last);

template <std::size_t count>
void add_json_members(json_object* object, named_json (&&members)[count])
{
    add_json_members(object, members, members + count);
}

/// Adds a member under a key that the object does not have yet and that outlives it: the key is neither looked
/// for nor copied.
void add_new_json_member(json_object* object, const char* lasting_key, json_owner value);

/// A value that json-c just made; throws std::bad_alloc where it had no memory for it.
json_owner made_json(json_object* value);

/// A member's value; null when `object` is no object or the member is missing or null.
json_object* json_member(json_object* object, const char* key);

/// The same, null also when the value is not an array.
json_object* json_array_member(json_object* object, const char* key);

/// True for a text, a number or a boolean: what json-c can convert into each other.
bool is_json_scalar(json_object* value);

/// A value's text as json-c gives it, valid as long as the value; empty for null.
std::string_view json_text(json_object* value);

/// Room for the text of any signed integer of 64 bits.
using integer_text = std::array<char, 20>;

/// The same, but an integer's text stands in `room`, and beyond 64 signed bits it is the nearest within them. json-c's printer
/// would be three blocks, 2 % of an insert's instructions.
std::string_view json_text(json_object* value, integer_text& room);

/// A value's text as a block that the host releases with free; throws std::bad_alloc.
char* copy_json_text(json_object* value);

/// A value's text read as a base-10 number; 0 when it is none.
long long json_text_number(json_object* value);

/// A value as a number. A text is read with a decimal point whatever the host's locale, which json-c alone
/// would not do.
double json_number(json_object* value);

/// The value of an optional integer member.
int json_int_member(json_object* object, const char* key, int missing);

/// The elements of an array, for a range-based loop or to be used up; none when it is null or not an array.
class json_elements {
public:
    explicit json_elements(json_object* array)
        : array_(json_object_is_type(array, json_type_array) ? array : nullptr)
    {
    }

    class iterator {
    public:
        iterator(json_object* array, std::size_t index)
            : array_(array)
            , index_(index)
        {
        }
        json_object* operator*() const { return json_object_array_get_idx(array_, index_); }
        iterator& operator++()
        {
            ++index_;
            return *this;
        }
        bool operator!=(const iterator& other) const { return index_ != other.index_; }

    private:
        json_object* array_;
        std::size_t index_;
    };

    json_object* operator[](std::size_t index) const { return json_object_array_get_idx(array_, index); }
    std::size_t size() const { return array_ ? json_object_array_length(array_) : 0; }

    /// An element, which must be there, is the caller's from now on. Null stays in its place, but for the last: json-c would
    /// let a full array grow to put it there.
    json_owner take(std::size_t index)
    {
        json_owner element(json_object_get((*this)[index]));
        if (index + 1 == size()) {
            json_object_array_del_idx(array_, index, 1);
        } else {
            json_object_array_put_idx(array_, index, nullptr);
        }
        return element;
    }

    /// Calls `read` with each element and then frees it, while it is in the cache: freed with a long tree as a whole, they
    /// have to be fetched once more, which costs a tenth of a long reply's decoding.
    template <class Read>
    void use_up(Read read)
    {
        const std::size_t count = size();
        for (std::size_t i = 0; i < count; ++i) {
            read(take(i).get());
        }
    }

    iterator begin() const { return {array_, 0}; }
    iterator end() const { return {array_, size()}; }

private:
    json_object* array_;
};

} // namespace korvane
