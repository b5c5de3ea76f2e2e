#include "terminal.h"

#include <clocale>
#include <cstring>
#include <langinfo.h>
#include <sys/ioctl.h>

namespace host {

size_t terminal_columns(int descriptor)
{
    winsize size = {};
    const bool known = ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? size.ws_col : 80;
}

// The locale is asked without being set: the library's calls must not see another one than a host gives them.
bool locale_is_utf8()
{
    const locale_t user = newlocale(LC_CTYPE_MASK, "", nullptr);
    if (user == nullptr) { // names a locale that is not installed
        return false;
    }
    const bool utf8 = std::strcmp(nl_langinfo_l(CODESET, user), "UTF-8") == 0;
    freelocale(user);
    return utf8;
}

} // namespace host
