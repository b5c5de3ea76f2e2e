#include "tests/reliability/host_locale.h"

#include "tests/support/files.h"

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

namespace korvane::test {

namespace {

constexpr const char* locale_folder = "/tmp/test_locales";

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
    before_ = std::locale::global(std::locale(name)); // setlocale(LC_ALL), too
    unsetenv("LOCPATH");                              // as long as it is set, glibc's newlocale leaks
    if (name != std::setlocale(LC_ALL, nullptr)) {
        throw std::runtime_error("the locale " + name + " has been made but cannot be used");
    }
}

host_locale::~host_locale()
{
    std::locale::global(before_);
}

} // namespace korvane::test
