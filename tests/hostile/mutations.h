// Everything that can be done to a JSON text, systematically.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace korvane::test {

struct mutation {
    std::string what; ///< "/datas/0/loc = 1e999"
    std::string text;
    std::string member; ///< the key of the replaced value, its index in an array; empty for other mutations
};

using use_mutation = std::function<void(const mutation&)>;

/// A value of every JSON type, at its ends and beyond, and what only looks like one; none has a text longer than the shortest
/// field, and none that is whole JSON nests deeper than json-c reads.
const std::vector<std::string>& short_values();

/// Values with long texts, and deep ones.
const std::vector<std::string>& long_values();

/// A few of them, for the members whose long texts end the process: a process each.
const std::vector<std::string>& some_long_values();

/// Each value in `text`, at any depth, replaced by each of `values`.
void for_each_replacement(const std::string& text, const std::vector<std::string>& values,
                          const use_mutation& use);

/// Each member, element and sub-tree left out; each member written twice, the second time as another type.
void for_each_rearrangement(const std::string& text, const use_mutation& use);

/// The text's first 0, 1, 2, ... bytes.
void for_each_truncation(const std::string& text, const use_mutation& use);

/// The text in 1 to 40 arrays and objects: json-c reads up to 32 levels; and in some thousands.
void for_each_depth(const std::string& text, const use_mutation& use);

/// No JSON, or more than one.
void for_each_nonsense(const std::string& text, const use_mutation& use);

} // namespace korvane::test
