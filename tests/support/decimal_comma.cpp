#include "tests/support/decimal_comma.h"

#include "tests/support/files.h"

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace korvane::test {

namespace {

constexpr const char* locale_folder = "/tmp/test_locales";
constexpr const char* locale_name = "de_DE.UTF-8";

void make_locale()
{
    const std::string path = std::string(locale_folder) + "/" + locale_name;
    if (exists(path)) {
        return;
    }
    std::filesystem::create_directories(locale_folder);
    const std::string command = "localedef --no-archive -i de_DE -f UTF-8 " + path + " 2>&1";
    if (std::system(command.c_str()) != 0) {
        throw std::runtime_error(
            "localedef failed; it needs Debian's packages \"libc-bin\" and \"locales\": " + command);
    }
}

} // namespace

decimal_comma::decimal_comma()
{
    make_locale();
    setenv("LOCPATH", locale_folder, 1);
    const bool made = std::setlocale(LC_ALL, locale_name) != nullptr;
    unsetenv("LOCPATH"); // as long as it is set, glibc's newlocale leaks
    if (!made || std::localeconv()->decimal_point[0] != ',') {
        throw std::runtime_error("the locale de_DE.UTF-8 has been made but cannot be used");
    }
}

decimal_comma::~decimal_comma()
{
    std::setlocale(LC_ALL, "C");
}

} // namespace korvane::test
