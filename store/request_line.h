// Builds the request line of a query, piece by piece, as the store expects it.
#pragma once

#include "util/work_area.h"

#include <korvane/metadata_records.h>

#include <string>
#include <vector>

namespace korvane {

/// "GET path?piece&piece...", one character shorter than its area, without encoding where a call does not say
/// so. Whether the line may be sent is asked at the end: it may not when it grew too long, when a polygon has
/// one to three corners, or when a value would smuggle a control character into the request.
class request_line {
public:
    request_line(std::string_view method, std::string_view path, std::size_t area_size = work_area::size);

    /// name=value
    void text(std::string_view name, std::string_view value);

    template <class Integer>
    void number(std::string_view name, Integer value)
    {
        begin(name);
        text_.append_number(value);
    }

    /// name=false or name=true for 0 and 1; nothing for any other value.
    void flag(std::string_view name, int value);

    /// start_name=..&end_name=.., unless one of both is `absent`.
    void range_unless(int absent, std::string_view name, int start, int end);

    /// x1=..&y1=.. to x4, y4, the first four vertices; nothing without a polygon.
    void area(const std::vector<Tposition_xy>& polygon);

    /// name=["a","b"], values as they are; nothing for an empty list.
    void quoted_list(std::string_view name, const std::vector<std::string>& values);

    /// name=["a","b"], values percent-encoded.
    void quoted_encoded_list(std::string_view name, const std::vector<std::string>& values);

    /// name=a%09b%09, each value percent-encoded together with a tab behind it.
    void tabbed_encoded_list(std::string_view name, const std::vector<std::string>& values);

    /// name=a|b, values percent-encoded.
    void barred_encoded_list(std::string_view name, const std::vector<std::string>& values);

    /// name=[1,2]
    void number_list(std::string_view name, const std::vector<int>& values);

    /// start_time=..&end_time=..
    void times(unsigned long long start_time, unsigned long long end_time);

    /// sort_dir=..&skip=..&limit=..; a direction of 0 goes out as -1.
    void paging(int sort_dir, int skip, int limit);

    /// Why the line may not be sent; null when it may.
    const char* refusal() const;
    char* c_str() { return text_.c_str(); }

private:
    struct list_shape {
        std::string_view open;
        std::string_view separator;
        std::string_view close;
    };

    template <class Values, class AppendItem>
    void list(std::string_view name, const list_shape& shape, const Values& values, AppendItem append_item);

    void refuse(const char* reason);
    void begin(std::string_view name);
    void raw(std::string_view value);
    void encoded(const std::string& value);

    work_area text_;
    std::size_t max_length_;
    bool first_ = true;
    const char* refusal_ = nullptr;
};

} // namespace korvane
