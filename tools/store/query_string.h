#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// The parameters of a raw query, "a=1&b=x y&c=["p","q"]".
///
/// Values stand exactly as they came over the wire: clients send brackets, quotes, blanks and '%' raw, and
/// percent-encode only where a reader below says so. For the same reason a '&' separates only in front of a
/// parameter that the path knows: the id in provider_id=["A&B"] stays whole.
class query_parameters {
public:
    /// Throws refusal (unknown_parameter) when the query begins with an unknown parameter or gives one twice.
    query_parameters(std::string_view raw, const std::vector<std::string_view>& known);

    /// The raw value of a parameter; none when the query lacks it.
    std::optional<std::string_view> find(std::string_view name) const;

    /// As find. Throws refusal (missing_parameter) when the query lacks it.
    std::string_view require(std::string_view name) const;

private:
    std::vector<std::pair<std::string_view, std::string_view>> parameters_;
};

// Readers of values. Each throws refusal (bad_parameter) that names the parameter, the value and what was
// expected.

/// A decimal whole number of 64 bits. One above the signed range is taken modulo 2^64, since clients print
/// times before the epoch as unsigned numbers.
std::int64_t read_integer(std::string_view name, std::string_view value);

/// A finite decimal number.
double read_number(std::string_view name, std::string_view value);

/// "true" or "false".
bool read_boolean(std::string_view name, std::string_view value);

/// ["a","b"], raw: an item may hold blanks, commas, quotes and brackets, only not the three characters ",".
std::vector<std::string> read_quoted_list(std::string_view name, std::string_view value);

/// ["a","b"] with each item percent-encoded.
std::vector<std::string> read_encoded_quoted_list(std::string_view name, std::string_view value);

/// Percent-encoded items, each followed by a tab that is encoded too: a%09b%09.
std::vector<std::string> read_tab_list(std::string_view name, std::string_view value);

/// Percent-encoded items with a raw bar between them: a|b.
std::vector<std::string> read_bar_list(std::string_view name, std::string_view value);

/// [1,2]
std::vector<std::int64_t> read_integer_list(std::string_view name, std::string_view value);
