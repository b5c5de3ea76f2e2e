#include "input_file.h"

#include "text.h"

#include <CLI/Error.hpp>
#include <cerrno>
#include <fcntl.h>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace host {
namespace {

constexpr size_t piece_size = 1 << 18;

} // namespace

input_file::input_file(const std::string& name)
    : name_(name == "-" ? "standard input" : name)
    , handle_(name == "-" ? dup(STDIN_FILENO) : open(name.c_str(), O_RDONLY | O_CLOEXEC))
{
    struct stat status = {};
    if (handle_ < 0) {
        throw CLI::ValidationError("FILE", "cannot read " + name_ + ": " + system_message());
    }
    if (fstat(handle_, &status) == 0 && S_ISDIR(status.st_mode)) {
        close(handle_);
        throw CLI::ValidationError("FILE", "cannot read " + name_ + ": it is a folder, expected a file");
    }
    if (S_ISREG(status.st_mode)) {
        size_ = status.st_size;
    }
}

input_file::input_file(input_file&& other) noexcept
    : name_(std::move(other.name_))
    , handle_(std::exchange(other.handle_, -1))
    , size_(other.size_)
{
}

input_file::~input_file()
{
    if (handle_ >= 0) {
        close(handle_);
    }
}

std::string input_file::read_some()
{
    std::string piece(piece_size, '\0');
    const ssize_t got = read(handle_, piece.data(), piece.size());
    if (got < 0 && errno != EINTR) {
        throw std::runtime_error("cannot read " + name_ + ": " + system_message());
    }
    piece.resize(got > 0 ? static_cast<size_t>(got) : 0);
    return piece;
}

std::string input_file::read_all()
{
    std::string all;
    for (std::string piece = read_some(); !piece.empty(); piece = read_some()) {
        all += piece;
    }
    return all;
}

} // namespace host
