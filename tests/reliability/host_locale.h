#pragma once

#include <locale>
#include <string>

namespace korvane::test {

/// While it lives, this process has the locale of a country with a decimal comma: by setlocale(LC_ALL), and
/// its way with numbers as C++'s global locale. Makes the locale in the sandbox's /tmp (localedef and the
/// sources of Debian's package "locales"); throws std::runtime_error with what is missing when that fails.
class host_locale {
public:
    /// `country` "de_DE", `charset` "UTF-8".
    host_locale(const std::string& country, const std::string& charset);
    ~host_locale();
    host_locale(const host_locale&) = delete;
    host_locale& operator=(const host_locale&) = delete;

private:
    std::locale before_;
};

} // namespace korvane::test
