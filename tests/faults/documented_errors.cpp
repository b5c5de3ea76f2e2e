#include "tests/faults/documented_errors.h"

#include <sys/syscall.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>

namespace korvane::test {

namespace {

// The same number on Linux, and documented as such: one fault, not two.
static_assert(EWOULDBLOCK == EAGAIN);

// The older calls are missing on younger machines, which have the general ones only.
#ifdef SYS_open
constexpr std::array open_numbers{SYS_openat, SYS_open};
constexpr std::array stat_numbers{SYS_newfstatat, SYS_stat};
constexpr std::array mkdir_numbers{SYS_mkdirat, SYS_mkdir};
constexpr std::array unlink_numbers{SYS_unlinkat, SYS_unlink};
constexpr std::array poll_numbers{SYS_ppoll, SYS_poll};
#else
constexpr std::array open_numbers{SYS_openat};
constexpr std::array stat_numbers{SYS_newfstatat};
constexpr std::array mkdir_numbers{SYS_mkdirat};
constexpr std::array unlink_numbers{SYS_unlinkat};
constexpr std::array poll_numbers{SYS_ppoll};
#endif

template <class Numbers>
std::vector<long> all(const Numbers& numbers)
{
    return {numbers.begin(), numbers.end()};
}

const std::vector<call_facts>& table()
{
    static const std::vector<call_facts> facts{
        {"socket",
         {SYS_socket},
         {EACCES, EAFNOSUPPORT, EINVAL, EMFILE, ENFILE, ENOBUFS, ENOMEM, EPROTONOSUPPORT}},
        {"setsockopt", {SYS_setsockopt}, {EBADF, EFAULT, EINVAL, ENOPROTOOPT, ENOTSOCK}},
        {"getsockopt", {SYS_getsockopt}, {EBADF, EFAULT, EINVAL, ENOPROTOOPT, ENOTSOCK}},
        {"connect",
         {SYS_connect},
         {EACCES, EPERM, EADDRINUSE, EADDRNOTAVAIL, EAFNOSUPPORT, EAGAIN, EALREADY, EBADF, ECONNREFUSED,
          EFAULT, EINPROGRESS, EINTR, EISCONN, ENETUNREACH, EHOSTUNREACH, ENOTSOCK, EPROTOTYPE, ETIMEDOUT}},
        {"send",
         {SYS_sendto},
         {EACCES, EAGAIN, EALREADY, EBADF, ECONNRESET, EDESTADDRREQ, EFAULT, EINTR, EINVAL, EISCONN, EMSGSIZE,
          ENOBUFS, ENOMEM, ENOTCONN, ENOTSOCK, EOPNOTSUPP, EPIPE, EHOSTUNREACH, ETIMEDOUT}},
        {"recv",
         {SYS_recvfrom},
         {EAGAIN, EBADF, ECONNREFUSED, ECONNRESET, EFAULT, EHOSTUNREACH, EINTR, EINVAL, ENOMEM, ENOTCONN,
          ENOTSOCK, ETIMEDOUT}},
        {"poll", all(poll_numbers), {EFAULT, EINTR, EINVAL, ENOMEM}},
        {"close", {SYS_close}, {EBADF, EINTR, EIO, ENOSPC, EDQUOT}},
        {"open", all(open_numbers), {EACCES,    EBADF,  EBUSY,  EDQUOT,  EEXIST,     EFAULT,       EFBIG,
                                     EINTR,     EINVAL, EISDIR, ELOOP,   EMFILE,     ENAMETOOLONG, ENFILE,
                                     ENODEV,    ENOENT, ENOMEM, ENOSPC,  ENOTDIR,    ENXIO,        EOPNOTSUPP,
                                     EOVERFLOW, EPERM,  EROFS,  ETXTBSY, EWOULDBLOCK}},
        {"stat",
         all(stat_numbers),
         {EACCES, EBADF, EFAULT, EINVAL, ELOOP, ENAMETOOLONG, ENOENT, ENOMEM, ENOTDIR, EOVERFLOW}},
        {"fstat", {SYS_newfstatat, SYS_fstat}, {EACCES, EBADF, EFAULT, ENOMEM, EOVERFLOW}},
        {"mkdir",
         all(mkdir_numbers),
         {EACCES, EBADF, EDQUOT, EEXIST, EFAULT, EINVAL, ELOOP, EMLINK, ENAMETOOLONG, ENOENT, ENOMEM, ENOSPC,
          ENOTDIR, EPERM, EROFS}},
        {"unlink",
         all(unlink_numbers),
         {EACCES, EBADF, EBUSY, EFAULT, EINVAL, EIO, EISDIR, ELOOP, ENAMETOOLONG, ENOENT, ENOMEM, ENOTDIR,
          EPERM, EROFS}},
        {"ftruncate", {SYS_ftruncate}, {EBADF, EFBIG, EINTR, EINVAL, EIO, EPERM, EROFS, ETXTBSY}},
        {"lseek", {SYS_lseek}, {EBADF, EINVAL, ENXIO, EOVERFLOW, ESPIPE}},
        {"write",
         {SYS_write},
         {EAGAIN, EBADF, EDESTADDRREQ, EDQUOT, EFAULT, EFBIG, EINTR, EINVAL, EIO, ENOSPC, EPERM, EPIPE}},
        {"nanosleep", {SYS_clock_nanosleep, SYS_nanosleep}, {EFAULT, EINTR, EINVAL}},
    };
    return facts;
}

} // namespace

const call_facts& facts_of(std::string_view name)
{
    const auto& facts = table();
    const auto found =
        std::find_if(facts.begin(), facts.end(), [&](const call_facts& f) { return f.name == name; });
    if (found == facts.end()) {
        throw std::out_of_range("no facts about " + std::string(name));
    }
    return *found;
}

bool is_documented(std::string_view name, int error)
{
    const std::vector<int>& errors = facts_of(name).errors;
    return std::find(errors.begin(), errors.end(), error) != errors.end();
}

std::string_view error_name(int error)
{
    const char* name = strerrorname_np(error);
    return name ? name : "?";
}

} // namespace korvane::test
