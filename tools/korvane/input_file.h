// A file, or standard input under the name "-", opened for reading in pieces.
#pragma once

#include <string>

namespace host {

class input_file {
public:
    /// Throws CLI::ValidationError when there is no such file or it cannot be read.
    explicit input_file(const std::string& name);
    input_file(input_file&& other) noexcept;
    input_file(const input_file&) = delete;
    input_file& operator=(const input_file&) = delete;
    ~input_file();

    /// What messages call it.
    const std::string& name() const { return name_; }

    /// In bytes; -1 for a stream, whose size nobody knows.
    long long size() const { return size_; }

    /// Waits for the next bytes and returns them; empty at the end, or when a signal came first. Throws
    /// std::runtime_error when reading fails.
    std::string read_some();

    std::string read_all();

private:
    std::string name_;
    int handle_;
    long long size_ = -1;
};

} // namespace host
