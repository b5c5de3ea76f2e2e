// People counts over time, as statistics answers hold them.
#pragma once

#include "json.h"

#include <string>
#include <vector>

namespace host {

/// One of the widths of time that counts are summed over.
struct count_type {
    const char* name;
    const char* what; ///< a bucket, in words
    const char* column;
    const char* label_format; ///< of a bucket's start
    const char* mark_format;  ///< the same, short, for an axis
    size_t mark_every;        ///< so many buckets, where all have their place on one axis
};

const std::vector<count_type>& count_types();

struct count_bucket {
    std::string label;
    std::string mark;
    long long in;
    long long out;
};

struct count_series {
    std::string title;
    std::vector<count_bucket> buckets;
    size_t mark_every;
};

struct count_sums {
    long long in = 0;
    long long out = 0;
};

count_sums sums_of(const count_series& series);

/// The greatest single count, 0 or more.
long long greatest_count(const std::vector<count_series>& all);

/// The series of an answer, as the library gave it: one for the channel that was asked for, otherwise one for
/// each group of seven buckets, the first of which is number `skipped`, from 0. Throws std::runtime_error for
/// an answer of another shape.
std::vector<count_series> read_counts(json_object* answer, const count_type& type, long long skipped);

} // namespace host
