#include "progress_bar.h"

#include "terminal.h"
#include "text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>

namespace host {
namespace {

bool draws_on_terminal()
{
    const char* kind =
        std::getenv("TERM"); // NOLINT(concurrency-mt-unsafe): nothing here sets the environment
    return isatty(STDERR_FILENO) == 1 && (kind == nullptr || std::strcmp(kind, "dumb") != 0);
}

std::string minutes_and_seconds(double seconds)
{
    char text[32];
    const long whole = std::lround(seconds);
    std::snprintf(text, sizeof text, "%ld:%02ld", whole / 60, whole % 60);
    return text;
}

std::string bar(double part, size_t width)
{
    const size_t filled = static_cast<size_t>(part * static_cast<double>(width));
    return "[" + std::string(filled, '#') + std::string(width - filled, '.') + "] ";
}

} // namespace

progress_bar::progress_bar(long long total_bytes)
    : total_bytes_(total_bytes)
    , is_terminal_(draws_on_terminal())
{
}

void progress_bar::show(long long reports, long long bytes)
{
    const clock::time_point now = clock::now();
    if (!is_terminal_ || now < next_draw_) {
        return;
    }
    next_draw_ = now + std::chrono::milliseconds(100);
    const double elapsed = std::max(seconds(), 0.001);
    std::string line = counted(reports, "report") + ", " +
                       grouped(static_cast<long long>(static_cast<double>(reports) / elapsed)) + "/s";
    if (total_bytes_ > 0 && bytes > 0) {
        const double part = std::min(1.0, static_cast<double>(bytes) / static_cast<double>(total_bytes_));
        char percent[16];
        std::snprintf(percent, sizeof percent, "%3.0f%%  ", part * 100);
        line = percent + line + ", " + minutes_and_seconds(elapsed / part - elapsed) + " left";
        const size_t columns = terminal_columns(STDERR_FILENO);
        if (columns > line.size() + 14) {
            line.insert(0, bar(part, std::min<size_t>(40, columns - line.size() - 4)));
        }
    }
    std::fprintf(stderr, "\r\033[K%s", line.substr(0, terminal_columns(STDERR_FILENO) - 1).c_str());
    visible_ = true;
}

void progress_bar::hide()
{
    if (visible_) {
        std::fputs("\r\033[K", stderr);
        visible_ = false;
    }
}

double progress_bar::seconds() const
{
    return std::chrono::duration<double>(clock::now() - start_).count();
}

} // namespace host
