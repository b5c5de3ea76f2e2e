#include "fuzz/library_call.h"

#include "fuzz/check.h"

#include <unwind.h>

#include <csetjmp>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace korvane::fuzz {

namespace {

bool in_call = false;
std::jmp_buf return_point;
std::uintptr_t call_frame = 0;

std::FILE* make_collector(std::string& text)
{
    cookie_io_functions_t functions{};
    functions.write = [](void* cookie, const char* bytes, std::size_t size) {
        static_cast<std::string*>(cookie)->append(bytes, size);
        return static_cast<ssize_t>(size);
    };
    std::FILE* file = fopencookie(&text, "w", functions);
    require(file != nullptr, "no stream for the library's standard error");
    std::setvbuf(file, nullptr, _IONBF, 0);
    return file;
}

/// Between the library and library_survives: the frame up to which the stack is unwound.
[[gnu::noinline]] void run(void (*call)(void*), void* context)
{
    call_frame = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
    call(context);
    asm volatile(""); // no tail call: the frame stays
}

_Unwind_Reason_Code stop_at_call(int, _Unwind_Action actions, _Unwind_Exception_Class, _Unwind_Exception*,
                                 _Unwind_Context* context, void*)
{
    if ((actions & _UA_END_OF_STACK) != 0 || _Unwind_GetCFA(context) > call_frame) {
        std::longjmp(return_point,
                     1); // NOLINT(modernize-avoid-setjmp-longjmp, cert-err52-cpp): all is unwound
    }
    return _URC_NO_REASON;
}

/// libkorvane: "NAME" has N characters, at most M are allowed: ending the process
bool is_promised_line(std::string_view written, fatal_texts may_end)
{
    constexpr std::string_view begin = "libkorvane: \"";
    constexpr std::string_view end = " are allowed: ending the process\n";
    if (written.substr(0, begin.size()) != begin || written.find('\n') + end.size() < written.size() ||
        written.size() < end.size() || written.substr(written.size() - end.size()) != end ||
        written.find('\n') != written.size() - 1) {
        return false;
    }
    const std::string_view name =
        written.substr(begin.size(), written.find('"', begin.size()) - begin.size());
    for (const std::string_view allowed : may_end) {
        if (name == allowed) {
            return true;
        }
    }
    return false;
}

} // namespace

bool library_survives(void (*call)(void*), void* context, fatal_texts may_end)
{
    static std::string written;
    static std::FILE* const collector = make_collector(written);
    static std::FILE* const own_stderr = stderr;
    written.clear();
    stderr = collector;
    in_call = true;
    bool ended = true;
    if (setjmp(return_point) == 0) { // NOLINT(modernize-avoid-setjmp-longjmp, cert-err52-cpp)
        run(call, context);
        ended = false;
    }
    in_call = false;
    stderr = own_stderr;
    if (ended) {
        require(is_promised_line(written, may_end), "the process was ended, not as promised", written);
    } else {
        require(written.empty(), "the library wrote to standard error", written);
    }
    return !ended;
}

} // namespace korvane::fuzz

// NOLINTBEGIN(bugprone-reserved-identifier): the linker's names
extern "C" {
[[noreturn]] void __real_abort();
[[noreturn]] void __wrap_abort();
}

void __wrap_abort()
{
    static _Unwind_Exception unwinding{};
    if (korvane::fuzz::in_call) {
        _Unwind_ForcedUnwind(&unwinding, korvane::fuzz::stop_at_call, nullptr);
    }
    __real_abort();
}
// NOLINTEND(bugprone-reserved-identifier)
