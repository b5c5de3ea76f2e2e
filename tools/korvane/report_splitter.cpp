#include "report_splitter.h"

#include "text.h"

#include <algorithm>

namespace host {
namespace {

const std::string byte_order_mark = "\xEF\xBB\xBF";

const char* const ends_too_early = "the text ends before the report does: a bracket or a quote is missing";

bool stands_between_reports(char byte)
{
    return byte == ' ' || byte == '\t' || byte == '\r' || byte == '\n' || byte == '[' || byte == ']' ||
           byte == ',';
}

} // namespace

report_splitter::report_splitter()
    : tokener_(json_tokener_new())
{
    if (!tokener_) {
        throw std::bad_alloc();
    }
}

void report_splitter::feed(const char* bytes, size_t size)
{
    // Taken text goes in one move per feed, not one per report. A line's indentation in front of the report
    // stays.
    const size_t line_start =
        buffer_.rfind('\n', start_) == std::string::npos ? 0 : buffer_.rfind('\n', start_) + 1;
    const size_t gone = std::min(line_start, start_);
    buffer_.erase(0, gone);
    buffer_.append(bytes, size);
    taken_ += static_cast<long long>(gone);
    start_ -= gone;
    parsed_ -= gone;
    if (broken_) {
        broken_->fault -= gone;
        broken_->scanned -= gone;
    }
}

std::optional<report> report_splitter::next()
{
    if (broken_) {
        return next_broken_object();
    }
    if (parsed_ == start_) {
        skip_to_report();
    }
    if (start_ == buffer_.size()) {
        return std::nullopt;
    }
    return buffer_[start_] == '{' ? next_object() : next_line();
}

void report_splitter::skip_to_report()
{
    if (taken_ == 0 && start_ == 0 && buffer_.compare(0, byte_order_mark.size(), byte_order_mark) == 0) {
        start_ = byte_order_mark.size();
    }
    while (start_ < buffer_.size() && stands_between_reports(buffer_[start_])) {
        line_ += buffer_[start_] == '\n' ? 1 : 0;
        ++start_;
    }
    parsed_ = start_;
}

std::optional<report> report_splitter::next_line()
{
    const size_t end = buffer_.find('\n', start_);
    if (end == std::string::npos && !finished_) {
        return std::nullopt;
    }
    const json_fault fault = fault_at(start_, "a report is a JSON object and begins with '{'");
    report line = take(std::min(end, buffer_.size()));
    line.fault = fault;
    return line;
}

std::optional<report> report_splitter::next_object()
{
    const size_t size = buffer_.size() - parsed_;
    json_object_put(json_tokener_parse_ex(tokener_.get(), buffer_.data() + parsed_, static_cast<int>(size)));
    const json_tokener_error state = json_tokener_get_error(tokener_.get());
    const size_t reached = parsed_ + json_tokener_get_parse_end(tokener_.get());
    if (state == json_tokener_success) {
        return take(reached);
    }
    parsed_ = buffer_.size();
    if (state == json_tokener_continue && !finished_) {
        return std::nullopt;
    }
    const bool incomplete = state == json_tokener_continue;
    broken_ = broken_object{incomplete ? ends_too_early : json_tokener_error_desc(state),
                            incomplete ? buffer_.size() : reached, start_, 0, false};
    return next_broken_object();
}

std::optional<report> report_splitter::next_broken_object()
{
    const size_t end = end_of_broken_object();
    if (end == std::string::npos) {
        return std::nullopt;
    }
    const bool ran_over = broken_->fault >= end; // stumbled only in what belongs to the next report
    const size_t text_end = buffer_.find_last_not_of(" \t\r\n", end - 1) + 1;
    json_fault fault =
        ran_over ? fault_at(text_end, ends_too_early) : fault_at(broken_->fault, broken_->reason);
    if (!ran_over) {
        fault.excerpt = printable(buffer_.substr(broken_->fault, std::min<size_t>(24, end - broken_->fault)));
    }
    broken_.reset();
    report object = take(end);
    object.fault = fault;
    return object;
}

// Without a parser's help an object ends where its brackets close, or else before the next line that begins
// as its own first line did: one missing bracket must not swallow the reports behind it.
size_t report_splitter::end_of_broken_object()
{
    const size_t line_break = buffer_.rfind('\n', start_);
    const size_t line_start = line_break == std::string::npos ? 0 : line_break + 1;
    const std::string first =
        buffer_.substr(line_start, buffer_.find_first_not_of(" \t", line_start) - line_start) + "{";
    broken_object& scan = *broken_;
    for (; scan.scanned < buffer_.size(); ++scan.scanned) {
        const char byte = buffer_[scan.scanned];
        if (byte == '\n') {
            scan.in_text = false; // no JSON text runs over a line end
            if (!finished_ && buffer_.size() - scan.scanned <= first.size()) {
                return std::string::npos;
            }
            if (buffer_.compare(scan.scanned + 1, first.size(), first) == 0) {
                return scan.scanned;
            }
        } else if (byte == '\\' && scan.in_text) {
            scan.scanned += scan.scanned + 1 < buffer_.size() && buffer_[scan.scanned + 1] != '\n' ? 1 : 0;
        } else if (byte == '"') {
            scan.in_text = !scan.in_text;
        } else if (!scan.in_text && (byte == '{' || byte == '[')) {
            ++scan.depth;
        } else if (!scan.in_text && (byte == '}' || byte == ']') && --scan.depth <= 0) {
            return scan.scanned + 1;
        }
    }
    return finished_ ? buffer_.size() : std::string::npos;
}

json_fault report_splitter::fault_at(size_t at, const char* reason) const
{
    const auto begin = buffer_.begin() + static_cast<ptrdiff_t>(start_);
    const auto place = buffer_.begin() + static_cast<ptrdiff_t>(at);
    const size_t line_break = at == 0 ? std::string::npos : buffer_.rfind('\n', at - 1);
    const size_t line_start = line_break == std::string::npos ? 0 : line_break + 1;
    return {line_ + std::count(begin, place, '\n'), static_cast<long>(at - line_start) + 1, reason, ""};
}

report report_splitter::take(size_t end)
{
    report taken;
    taken.text = buffer_.substr(start_, end - start_);
    taken.text.erase(taken.text.find_last_not_of(" \t\r\n") + 1);
    taken.line = line_;
    taken.end = taken_ + static_cast<long long>(end);
    line_ += std::count(buffer_.begin() + static_cast<ptrdiff_t>(start_),
                        buffer_.begin() + static_cast<ptrdiff_t>(end), '\n');
    start_ = parsed_ = end;
    json_tokener_reset(tokener_.get());
    return taken;
}

std::optional<json_fault> find_fault(const std::string& text)
{
    report_splitter splitter;
    splitter.feed(text.data(), text.size());
    splitter.finish();
    const std::optional<report> first = splitter.next();
    return first ? first->fault : json_fault{1, 1, "it is empty", ""};
}

std::string describe(const json_fault& fault)
{
    return "line " + std::to_string(fault.line) + ", column " + std::to_string(fault.column) + ": " +
           fault.reason + (fault.excerpt.empty() ? "" : ": " + fault.excerpt);
}

} // namespace host
