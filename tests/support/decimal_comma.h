#pragma once

namespace korvane::test {

/// While it lives, this process writes and reads numbers with a decimal comma, as a host with a German,
/// French or many another locale does: 0,5. Makes the locale in the sandbox's /tmp on its first use
/// (localedef and the source files of Debian's package "locales"); throws std::runtime_error with what is
/// missing when that fails.
class decimal_comma {
public:
    decimal_comma();
    ~decimal_comma();
    decimal_comma(const decimal_comma&) = delete;
    decimal_comma& operator=(const decimal_comma&) = delete;
};

} // namespace korvane::test
