#include "output_file.h"

#include "text.h"

#include <cerrno>
#include <fstream>
#include <stdexcept>

namespace host {

void write_file(const std::string& name, const std::string& text)
{
    errno = 0;
    std::ofstream file(name);
    if (!(file << text).flush()) {
        throw std::runtime_error("cannot write " + name + ": " + system_message());
    }
}

} // namespace host
