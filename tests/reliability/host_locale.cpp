#include "tests/reliability/host_locale.h"

#include "tests/support/files.h"

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

namespace korvane::test {

namespace {

constexpr const char* locale_folder = "/tmp/test_locales";

/// How both countries write numbers: 1.234.567,5.
class grouped_numbers : public std::numpunct<char> {
protected:
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

void make_locale(const std::string& country, const std::string& charset, const std::string& name)
{
    const std::string path = std::string(locale_folder) + "/" + name;
    if (exists(path)) {
        return;
    }
    std::filesystem::create_directories(locale_folder);
    const std::string command =
        "localedef --no-archive -i " + country + " -f " + charset + " " + path + " 2>&1";
    if (std::system(command.c_str()) != 0) {
        throw std::runtime_error(
            "localedef failed; it needs Debian's packages \"libc-bin\" and \"locales\": " + command);
    }
}

} // namespace

host_locale::host_locale(const std::string& country, const std::string& charset)
{
    const std::string name = country + "." + charset;
    make_locale(country, charset, name);
    setenv("LOCPATH", locale_folder, 1);
    const bool made = std::setlocale(LC_ALL, name.c_str()) != nullptr;
    unsetenv("LOCPATH"); // as long as it is set, glibc's newlocale leaks
    if (!made) {
        throw std::runtime_error("the locale " + name + " has been made but cannot be used");
    }
    before_ = std::locale::global(std::locale(std::locale::classic(), new grouped_numbers));
}

host_locale::~host_locale()
{
    std::locale::global(before_);
    std::setlocale(LC_ALL, "C");
}

} // namespace korvane::test
