#pragma once

#include "records.h"

#include <string>

/// Stores counts of people going in and out, and adds them up.
class people_counting_table {
public:
    explicit people_counting_table(database& db);

    /// POST: one report. The reply's text.
    std::string add(const std::string& body);

    /// GET: the sums per channel and bucket of time. Buckets start at `timestamp` and are `interval` long;
    /// only those with reports are listed, channel by channel, in rising time. The reply's text.
    std::string query(const std::string& raw_query) const;

    /// DELETE: removes what is older than `timestamp`. The reply's text.
    std::string remove(const std::string& raw_query);

    std::int64_t count() const { return records_.count(); }

private:
    database& database_;
    record_table records_;
};
