#include "codec/people_counting.h"
#include "codec/reply_reader.h"
#include "log/korvane_log.h"
#include "util/guarded.h"

#include <new>
#include <string_view>
#include <unordered_set>

namespace korvane {

namespace {

using bucket = people_counting_metadata_information;

/// What a reply says of one bucket.
struct bucket_sums {
    bool has_channel;
    std::string_view channel;
    long long time;
    int in = 0;
    int out = 0;
};

struct reply_sums {
    std::vector<bucket_sums> rows;
    std::unordered_set<std::string_view> channels;

    /// Keep the texts above: one for rows of a channel that stand together.
    std::vector<json_owner> named;
};

reply_sums read_sums(json_elements rows)
{
    reply_sums all;
    all.rows.reserve(rows.size());
    std::string_view last;
    rows.use_up([&](json_object* row) {
        json_object* id = json_member(row, "_id");
        json_object* channel = json_member(id, "channel_sid");
        const std::string_view text = json_text(channel);
        if (all.rows.empty() || text != last) {
            all.named.push_back(json_owner(json_object_get(channel)));
            all.channels.insert(text);
            last = text;
        }
        bucket_sums& sums = all.rows.emplace_back();
        sums.has_channel = channel != nullptr;
        sums.channel = last;
        sums.time = json_text_number(json_member(id, "timestamp"));
        get_json_int(row, "sum_in", &sums.in);
        get_json_int(row, "sum_out", &sums.out);
    });
    return all;
}

/// The buckets of one channel: times are counted from the start, so a range before or across the epoch is like
/// any other.
class time_grid {
public:
    time_grid(unsigned long long start, unsigned long long end, unsigned long long interval)
        : start_(start)
        , interval_(interval)
    {
        const auto length = static_cast<long long>(end - start);
        if (interval > 0 && length >= 0) {
            count_ = (end - start) / interval + 1;
            count_before_end_ = length > 0 ? (end - start - 1) / interval + 1 : 0;
        }
    }

    static constexpr unsigned long long off_grid = ~0ULL;

    /// The bucket that starts at `time`; off_grid when none does.
    unsigned long long index_of(long long time) const
    {
        const unsigned long long offset = static_cast<unsigned long long>(time) - start_;
        return interval_ > 0 && offset % interval_ == 0 && offset / interval_ < count_ ? offset / interval_
                                                                                       : off_grid;
    }

    long long time_of(unsigned long long index) const
    {
        return static_cast<long long>(start_ + index * interval_);
    }
    unsigned long long count() const { return count_; }

    /// Without a bucket that starts at the end itself: the empty series stops short of it.
    unsigned long long count_before_end() const { return count_before_end_; }

private:
    unsigned long long start_;
    unsigned long long interval_;
    unsigned long long count_ = 0;
    unsigned long long count_before_end_ = 0;
};

/// Builds the series. Each channel's buckets are made in rising order and exactly once, whatever the rows
/// are, so the series is never longer than the channels of the reply times the buckets of the range.
class dense_series {
public:
    dense_series(const time_grid& grid, std::vector<bucket>& buckets)
        : grid_(grid)
        , buckets_(buckets)
    {
    }

    void fill_until(unsigned long long end, std::string_view channel)
    {
        while (next_ < end) {
            append(channel);
        }
    }

    void fill_rest(std::string_view channel) { fill_until(grid_.count(), channel); }

    void add(const bucket_sums& sums)
    {
        if (sums.has_channel && !enter(sums.channel)) {
            ++skipped_;
            return;
        }
        last_channel_ = sums.channel;
        const unsigned long long index = grid_.index_of(sums.time);
        if (index == time_grid::off_grid || index < next_) {
            ++skipped_;
            return;
        }
        fill_until(index, sums.channel);
        bucket& filled = append(sums.channel);
        filled.people_count_in = sums.in;
        filled.people_count_out = sums.out;
    }

    /// After the last row: its channel's series is completed.
    void finish() { fill_rest(last_channel_); }

    std::size_t skipped() const { return skipped_; }

private:
    /// Changes to a channel when it is another one; false when that channel's series was completed before.
    bool enter(std::string_view channel)
    {
        const bool goes_on = current_ == channel || (!named_ && next_ == 0);
        named_ = true;
        if (goes_on) {
            current_ = channel;
            return true;
        }
        if (done_.count(channel) != 0) {
            return false;
        }
        fill_rest(current_);
        done_.insert(current_);
        current_ = channel;
        next_ = 0;
        return true;
    }

    bucket& append(std::string_view channel)
    {
        bucket& made = buckets_.emplace_back();
        made.timestamp = grid_.time_of(next_++);
        abort_if_long(made.channel_sid, channel, "channel_sid");
        return made;
    }

    const time_grid& grid_;
    std::vector<bucket>& buckets_;
    unsigned long long next_ = 0; ///< the bucket expected next
    std::string_view current_;    ///< texts of the reply
    bool named_ = false;          ///< the current channel: an empty name is one, too
    std::string_view last_channel_;
    std::unordered_set<std::string_view> done_;
    std::size_t skipped_ = 0;
};

/// Makes room for so many buckets more, at once: a vector that grows with them would copy each several times, and
/// without the memory nothing is half built.
void reserve(std::vector<bucket>& buckets, std::size_t channels, unsigned long long buckets_each)
{
    std::size_t added = 0;
    if (__builtin_mul_overflow(channels, buckets_each, &added) ||
        added > buckets.max_size() - buckets.size()) {
        throw std::bad_alloc();
    }
    buckets.reserve(buckets.size() + added);
}

} // namespace

void read_statistics(const std::string& body, bool one_channel, unsigned long long interval,
                     unsigned long long start, unsigned long long end,
                     std::vector<people_counting_metadata_information>& rows, int& result)
{
    const json_owner tree = parse_json(body.c_str());
    get_json_int(tree.get(), "ret", &result);
    if (result == ret_nothing) {
        return;
    }
    const time_grid grid(start, end, interval);
    dense_series series(grid, rows);
    const reply_sums sums = read_sums(json_elements(json_member(tree.get(), "datas")));
    if (sums.rows.empty()) {
        if (one_channel) {
            reserve(rows, 1, grid.count_before_end());
            series.fill_until(grid.count_before_end(), {});
        }
        return;
    }
    reserve(rows, sums.channels.size(), grid.count());
    append_whole(rows, [&] {
        for (const bucket_sums& row : sums.rows) {
            series.add(row);
        }
        series.finish();
    });
    if (series.skipped() > 0) {
        log_debug("[korvane](%s:%d) %zu of %zu rows skipped: off the time grid or out of order",
                  "trans_string_to_people_counting_metadata_statistics", __LINE__, series.skipped(),
                  sums.rows.size());
    }
}

} // namespace korvane

// NOLINTNEXTLINE(performance-unnecessary-value-param): by value, as the interface has it
int trans_string_to_people_counting_metadata_statistics(
    std::string body, char* channel_sid, char* /*query_type*/, unsigned long long interval,
    unsigned long long start, unsigned long long end, std::vector<people_counting_metadata_information>& rows,
    int& result)
{
    return korvane::guarded(__func__, [&] {
        korvane::read_statistics(body, channel_sid != nullptr, interval, start, end, rows, result);
        return 0;
    });
}
