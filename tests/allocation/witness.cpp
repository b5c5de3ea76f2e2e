#include "tests/allocation/witness.h"

#include <json-c/json.h>

#include <dlfcn.h>
#include <execinfo.h>
#include <link.h>

#include <cstdint>
#include <cstring>
#include <string_view>

namespace korvane::test {

namespace {

struct code_range {
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;
};

/// Where the object that holds `function` is mapped.
code_range range_of(std::uintptr_t function)
{
    struct search {
        std::uintptr_t wanted;
        code_range found;
    } wanted{function, {}};
    dl_iterate_phdr(
        [](dl_phdr_info* object, std::size_t /*size*/, void* data) {
            auto* search_for = static_cast<search*>(data);
            for (int i = 0; i < object->dlpi_phnum; ++i) {
                const auto& segment = object->dlpi_phdr[i];
                const std::uintptr_t begin = object->dlpi_addr + segment.p_vaddr;
                if (segment.p_type == PT_LOAD && search_for->wanted - begin < segment.p_memsz) {
                    search_for->found = {begin, begin + segment.p_memsz};
                    return 1;
                }
            }
            return 0;
        },
        &wanted);
    return wanted.found;
}

const code_range& json_c_code()
{
    // By dlsym: the address that this program has for the function may be a stub of its own.
    static const code_range range =
        range_of(reinterpret_cast<std::uintptr_t>(dlsym(RTLD_DEFAULT, "json_tokener_parse")));
    return range;
}

bool is_json_c_code(const void* address)
{
    const auto at = reinterpret_cast<std::uintptr_t>(address);
    return at >= json_c_code().begin && at < json_c_code().end;
}

struct frame_name {
    std::string_view object; ///< the file's name
    const char* function = nullptr;
};

frame_name name_of(const void* return_address)
{
    Dl_info info{};
    // The call may be a function's last instruction: what is behind it is the next function's.
    if (dladdr(static_cast<const char*>(return_address) - 1, &info) == 0 || info.dli_fname == nullptr) {
        return {};
    }
    const char* slash = std::strrchr(info.dli_fname, '/');
    return {slash ? slash + 1 : info.dli_fname, info.dli_sname};
}

bool begins_with(std::string_view text, std::string_view beginning)
{
    return text.substr(0, beginning.size()) == beginning;
}

} // namespace

void call_stack::take()
{
    depth = backtrace(frames, max_depth);
}

bool is_in_json_c(const call_stack& stack)
{
    for (int i = 0; i < stack.depth; ++i) {
        if (is_json_c_code(stack.frames[i])) {
            return true;
        }
    }
    return false;
}

std::string library_of(const call_stack& stack)
{
    for (int i = 0; i < stack.depth; ++i) {
        const std::string_view object = name_of(stack.frames[i]).object;
        const std::size_t end = object.find(".so");
        if (end != std::string_view::npos && !begins_with(object, "libc.") &&
            !begins_with(object, "libstdc++") && !begins_with(object, "libgcc") &&
            !begins_with(object, "ld-")) {
            return std::string(object.substr(0, end));
        }
    }
    return "this program";
}

std::string json_c_place_of(const call_stack& stack)
{
    std::string called;
    std::string innermost;
    std::string outermost;
    for (int i = 0; i < stack.depth; ++i) {
        const frame_name name = name_of(stack.frames[i]);
        if (is_json_c_code(stack.frames[i])) {
            if (name.function) {
                innermost = innermost.empty() ? name.function : innermost;
                outermost = name.function;
            }
        } else if (innermost.empty() && outermost.empty() && name.function) {
            called = name.function; // the last before json-c's own
        }
    }
    return outermost + (innermost == outermost ? "" : " ... " + innermost) + ": " + called;
}

} // namespace korvane::test
