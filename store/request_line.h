// Builds the request line of a query, piece by piece, as the store expects it.
#pragma once

#include "util/work_area.h"

#include <korvane/metadata_records.h>

#include <string>
#include <vector>

namespace korvane {

/// "GET path?piece&piece...", at most 8191 characters. A call appends its piece only when there is something
/// to ask for. Whether the line may be sent is asked once, at the end: it may not when it grew too long, when
/// a polygon has one to three corners, or when a value would smuggle a control character into the request.
class request_line {
public:
    request_line(std::string_view method, std::string_view path);

    /// "x1=..&y1=..&" to x4, y4: the first four vertices.
    void area(const std::vector<Tposition_xy>& polygon);

    /// name=["a","b"]& with the values as they are.
    void quoted_list(std::string_view name, const std::vector<std::string>& values);

    /// "start_time=..&end_time=..", without an ampersand: it ends the line or stands before paging.
    void times(unsigned long long start_time, unsigned long long end_time);

    /// "&sort_dir=..&skip=..&limit=.."; a direction of 0 goes out as -1.
    void paging(int sort_dir, int skip, int limit);

    bool sendable() const { return !refused_ && !text_.overflowed(); }
    char* c_str() { return text_.c_str(); }

private:
    void raw(std::string_view value);

    work_area text_;
    bool refused_ = false;
};

} // namespace korvane
