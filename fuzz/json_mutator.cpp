// The custom mutator of the targets whose inputs are texts parted by zero bytes: changes a JSON text as JSON, so that it
// stays one and gets past the parser, by words of the dictionary. Every other input, and one in three of these, is
// libFuzzer's own to change.
#include "fuzz/dictionary_words.h" // made of dictionary.txt
#include "fuzz/input.h"
#include "util/json_members.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <iterator>
#include <random>
#include <string>

extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t max_size);

namespace korvane::fuzz {

namespace {

constexpr std::size_t most_places = 4000;

class json_mutator {
public:
    explicit json_mutator(unsigned seed)
        : random_(seed)
    {
    }

    std::size_t below(std::size_t count) { return random_() % count; }

    /// False when the tree has no place to change.
    bool mutate(json_object* root)
    {
        collect(root);
        if (places_.empty()) {
            return false;
        }
        for (std::size_t i = 1 + below(3); i > 0; --i) {
            change(places_[below(places_.size())]);
            places_.clear();
            collect(root);
            if (places_.empty()) {
                break;
            }
        }
        return true;
    }

private:
    /// A member or an element.
    struct place {
        json_object* parent;
        std::string key; ///< of an object's member
        std::size_t index;
        json_object* value;
    };

    void collect(json_object* parent)
    {
        if (json_object_is_type(parent, json_type_object)) {
            json_object_object_foreach(parent, key, value)
            {
                add({parent, key, 0, value});
            }
        } else if (json_object_is_type(parent, json_type_array)) {
            for (std::size_t i = 0; i < json_object_array_length(parent); ++i) {
                add({parent, {}, i, json_object_array_get_idx(parent, i)});
            }
        }
    }

    void add(place found)
    {
        if (places_.size() < most_places) {
            json_object* value = found.value;
            places_.push_back(std::move(found));
            collect(value);
        }
    }

    static void put(const place& at, json_object* value)
    {
        if (json_object_is_type(at.parent, json_type_object)) {
            json_object_object_add(at.parent, at.key.c_str(), value);
        } else {
            json_object_array_put_idx(at.parent, at.index, value);
        }
    }

    static void remove(const place& at)
    {
        if (json_object_is_type(at.parent, json_type_object)) {
            json_object_object_del(at.parent, at.key.c_str());
        } else {
            json_object_array_del_idx(at.parent, at.index, 1);
        }
    }

    static json_object* copy(json_object* value)
    {
        json_object* made = nullptr;
        json_object_deep_copy(value, &made, nullptr);
        return made;
    }

    const char* word() { return dictionary_words[below(std::size(dictionary_words))]; }

    json_object* long_text()
    {
        // Around the sizes of the records' fields and of the work area.
        constexpr std::size_t sizes[] = {7, 14, 23, 32, 63, 127, 128, 255, 511, 1023, 4095, 8191};
        constexpr const char* letters[] = {"a", "7", "\xc3\xa9", "\xe7\x8e\x8b", "\"", "\n", "%", "\x80"};
        std::string text;
        const std::size_t size = sizes[below(std::size(sizes))] + below(3);
        for (const char* letter = letters[below(std::size(letters))]; text.size() < size;) {
            text += letter;
        }
        text.resize(text.size() - below(2));
        return json_object_new_string_len(text.data(), static_cast<int>(text.size()));
    }

    json_object* number()
    {
        constexpr double reals[] = {0.0,  0.5,   1.0,  1.0000001, -0.0000001, -2.0,
                                    99.5, 100.1, 1e18, 1e300,     -1e300,     1e-300};
        constexpr long long integers[] = {
            0, 1, -1, -101, 7, 10, 100, INT_MAX, INT_MIN, 1 << 20, LLONG_MAX, LLONG_MIN, 1'712'345'678'901};
        return below(2) == 0 ? json_object_new_double(reals[below(std::size(reals))])
                             : json_object_new_int64(integers[below(std::size(integers))]);
    }

    json_object* any_value()
    {
        switch (below(8)) {
        case 0:
            return nullptr;
        case 1:
            return json_object_new_boolean(static_cast<json_bool>(below(2)));
        case 2:
            return long_text();
        case 3:
            return json_object_new_string(word());
        case 4:
            return json_object_new_array();
        case 5:
            return json_object_new_object();
        default:
            return number();
        }
    }

    /// A number as text, a text as array, an array as its first element ...
    json_object* as_another_type(json_object* value)
    {
        if (json_object_is_type(value, json_type_array) && json_object_array_length(value) > 0) {
            return copy(json_object_array_get_idx(value, below(json_object_array_length(value))));
        }
        if (below(2) == 0) {
            json_object* array = json_object_new_array();
            json_object_array_add(array, copy(value));
            return array;
        }
        return json_object_new_string(json_object_get_string(value) ? json_object_get_string(value) : "null");
    }

    json_object* with_other_bytes(json_object* value)
    {
        std::string text = json_object_get_string(value) ? json_object_get_string(value) : "";
        const std::size_t room = text.size() + 32;
        std::size_t size = text.size();
        text.resize(room);
        size = LLVMFuzzerMutate(reinterpret_cast<uint8_t*>(text.data()), size, room);
        return json_object_new_string_len(text.data(), static_cast<int>(size));
    }

    /// Once more in another place, or many times at the end of its array.
    void repeat(const place& at)
    {
        if (json_object_is_type(at.parent, json_type_array)) {
            constexpr std::size_t counts[] = {1, 1, 2, 7, 30, 100, 300};
            for (std::size_t i = counts[below(std::size(counts))]; i > 0; --i) {
                json_object_array_add(at.parent, copy(at.value));
            }
        } else {
            json_object_object_add(at.parent, word(), copy(at.value));
        }
    }

    void change(const place& at)
    {
        switch (below(9)) {
        case 0:
            put(at, any_value());
            break;
        case 1:
            put(at, as_another_type(at.value));
            break;
        case 2:
            put(at, with_other_bytes(at.value));
            break;
        case 3:
            put(at, copy(places_[below(places_.size())].value));
            break;
        case 4:
            remove(at);
            break;
        case 5: { // another name
            json_object* value = copy(at.value);
            remove(at);
            put({at.parent, word(), at.index, nullptr}, value);
            break;
        }
        case 6: // one more member
            if (json_object_is_type(at.value, json_type_object)) {
                json_object_object_add(at.value, word(), any_value());
            } else {
                put(at, number());
            }
            break;
        default:
            repeat(at);
        }
    }

    std::minstd_rand random_;
    std::vector<place> places_;
};

bool mutate_json(json_mutator& mutator, std::string& text)
{
    const json_owner tree = parse_json(text.c_str());
    if (!tree || !mutator.mutate(tree.get())) {
        return false;
    }
    text =
        json_object_to_json_string_ext(tree.get(), JSON_C_TO_STRING_PLAIN | JSON_C_TO_STRING_NOSLASHESCAPE);
    return true;
}

} // namespace

} // namespace korvane::fuzz

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t max_size, unsigned seed)
{
    korvane::fuzz::json_mutator mutator(seed);
    if (mutator.below(3) == 0) {
        return LLVMFuzzerMutate(data, size, max_size);
    }
    const std::vector<std::string_view> texts = korvane::fuzz::split_texts(data, size);
    const std::size_t chosen = mutator.below(texts.size());
    std::string text(texts[chosen]);
    if (!korvane::fuzz::mutate_json(mutator, text)) {
        return LLVMFuzzerMutate(data, size, max_size);
    }
    std::string input;
    for (std::size_t i = 0; i < texts.size(); ++i) {
        input.append(i > 0 ? 1 : 0, '\0').append(i == chosen ? std::string_view(text) : texts[i]);
    }
    if (input.size() > max_size) {
        return LLVMFuzzerMutate(data, size, max_size);
    }
    std::memcpy(data, input.data(), input.size());
    return input.size();
}
