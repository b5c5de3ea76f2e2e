// The session that the default build carries. It reads ahead in large pieces, so that the short lines of a
// reply do not cost a system call each.
#include "platform/ttcp_session.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace {

constexpr std::size_t surely_one_segment = 16'384; ///< on the loopback
constexpr std::size_t long_reply = 65'536;
constexpr long long forever_ms = LLONG_MAX;

/// The coarse clock, some milliseconds behind: the limits are whole seconds, and it is asked several times a request.
long long now_ms()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    return static_cast<long long>(now.tv_sec) * 1000 + now.tv_nsec / 1'000'000;
}

long long deadline_after(int timeout_s)
{
    return timeout_s > 0 ? now_ms() + timeout_s * 1000LL : forever_ms;
}

/// Waits until the socket is ready for `events`; false when the deadline comes first.
bool wait_ready(int socket, short events, long long deadline)
{
    pollfd waiting{socket, events, 0};
    for (;;) {
        const long long left = deadline == forever_ms ? -1 : std::max(0LL, deadline - now_ms());
        if (left == 0) {
            return false;
        }
        const int ready = poll(&waiting, 1, static_cast<int>(std::min<long long>(left, INT_MAX)));
        if (ready >= 0 || errno != EINTR) {
            return ready == 1;
        }
    }
}

/// Waits for a connect that a signal interrupted: it goes on by itself and must not be started again.
bool wait_connected(int socket, long long deadline)
{
    int error = 0;
    socklen_t size = sizeof error;
    return wait_ready(socket, POLLOUT, deadline) &&
           getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &size) == 0 && error == 0;
}

/// `option` is SO_SNDTIMEO, which connect obeys too, or SO_RCVTIMEO. True when the socket's own waits then end with the
/// time-out.
bool limit_waits(int socket, int option, int timeout_s)
{
    const timeval limit{timeout_s, 0};
    return timeout_s <= 0 || setsockopt(socket, SOL_SOCKET, option, &limit, sizeof limit) == 0;
}

bool to_be_tried_again()
{
    return errno == EINTR || errno == EAGAIN;
}

} // namespace

TTCPSession::TTCPSession(char* host, int port, bool, int timeout, bool, char*, int)
    : timeout_(timeout)
{
    if (!connect_to(host, port)) {
        drop();
    }
}

TTCPSession::~TTCPSession()
{
    drop();
    if (ahead_ != short_ahead_) {
        std::free(ahead_);
    }
}

bool TTCPSession::connect_to(const char* host, int port)
{
    sockaddr_in peer{};
    peer.sin_family = AF_INET;
    peer.sin_port = htons(static_cast<std::uint16_t>(port));
    if (inet_pton(AF_INET, host, &peer.sin_addr) != 1) {
        return false;
    }
    socket_handle = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (socket_handle < 0) {
        return false;
    }
    sending_limited_ = limit_waits(socket_handle, SO_SNDTIMEO, timeout_);
    const long long deadline = deadline_after(timeout_);
    if (connect(socket_handle, reinterpret_cast<const sockaddr*>(&peer), sizeof peer) == 0) {
        return true;
    }
    return errno == EINTR && wait_connected(socket_handle, deadline);
}

void TTCPSession::drop()
{
    if (socket_handle >= 0) {
        close(socket_handle);
    }
    socket_handle = -1;
    ended_ = true;
}

/// How the next send or recv of a call is to be made, as flags; negative when the call's time is over. The first
/// may wait by itself where the socket's own wait is `limited`. The later ones, after a signal or a piece, may not: that
/// wait would begin anew.
int TTCPSession::next_flags(short events, bool limited, step& now) const
{
    const bool first = now.first;
    now.first = false;
    if (first && limited) {
        return 0;
    }
    return wait_ready(socket_handle, events, now.deadline) ? MSG_DONTWAIT : -1;
}

int TTCPSession::SendPacket(unsigned char* data, int length)
{
    // The head is held back for the body: the peer is woken once for both, which spares an insert 8 % of its time.
    const int more = packets_ == 0 ? MSG_MORE : 0;
    step now{deadline_after(timeout_)};
    int sent = 0;
    while (sent < length && !ended_) {
        const int flags = next_flags(POLLOUT, sending_limited_, now);
        const ssize_t count = flags < 0
                                  ? -1
                                  : send(socket_handle, data + sent, static_cast<std::size_t>(length - sent),
                                         flags | more | MSG_NOSIGNAL);
        if (count > 0) {
            sent += static_cast<int>(count);
        } else if (flags < 0 || !to_be_tried_again()) {
            drop();
        }
    }
    ++packets_;
    sent_ += static_cast<std::size_t>(sent);
    held_back_ = packets_ != 2 || sent_ > surely_one_segment;
    return sent;
}

/// What can wait until the request is on its way: meanwhile the peer is at work.
void TTCPSession::begin_to_receive()
{
    if (held_back_) {
        // Leaves at once; a head that waited for a body would else wait for a fifth of a second.
        const int no_delay = 1;
        setsockopt(socket_handle, IPPROTO_TCP, TCP_NODELAY, &no_delay, sizeof no_delay);
        held_back_ = false;
    }
    if (!receiving_) {
        receiving_ = true;
        receiving_limited_ = limit_waits(socket_handle, SO_RCVTIMEO, timeout_);
    }
}

/// After a piece that filled the read-ahead the rest of the reply is read in large ones; without the memory it goes on
/// in small ones.
void TTCPSession::grow_ahead()
{
    if (last_ == ahead_size_ && ahead_ == short_ahead_) {
        if (auto* large = static_cast<unsigned char*>(std::malloc(long_reply))) {
            ahead_ = large;
            ahead_size_ = long_reply;
        }
    }
}

/// Receives once into the empty read-ahead.
bool TTCPSession::refill(step& now)
{
    if (ended_) {
        return false;
    }
    begin_to_receive();
    grow_ahead();
    while (!ended_) {
        const int flags = next_flags(POLLIN, receiving_limited_, now);
        const ssize_t count = flags < 0 ? 0 : recv(socket_handle, ahead_, ahead_size_, flags);
        if (count > 0) {
            first_ = 0;
            last_ = static_cast<std::size_t>(count);
            return true;
        }
        if (count == 0 || !to_be_tried_again()) {
            drop();
        }
    }
    return false;
}

int TTCPSession::ReadLine(unsigned char* buffer, int max)
{
    const auto room = static_cast<std::size_t>(std::max(max, 0));
    step now{deadline_after(timeout_)};
    std::size_t length = 0;
    while (length < room && (first_ < last_ || refill(now))) {
        const unsigned char* begin = ahead_ + first_;
        const std::size_t part = std::min(room - length, last_ - first_);
        const auto* line_feed = static_cast<const unsigned char*>(std::memchr(begin, '\n', part));
        const std::size_t taken = line_feed ? static_cast<std::size_t>(line_feed - begin) + 1 : part;
        std::memcpy(buffer + length, begin, taken);
        first_ += taken;
        length += taken;
        if (line_feed) {
            break;
        }
    }
    return length > 0 ? static_cast<int>(length) : -1;
}

int TTCPSession::RecvPacket(unsigned char* buffer, int length, bool)
{
    const auto wanted = static_cast<std::size_t>(std::max(length, 0));
    step now{deadline_after(timeout_)};
    std::size_t received = 0;
    while (received < wanted && (first_ < last_ || refill(now))) {
        const std::size_t taken = std::min(wanted - received, last_ - first_);
        std::memcpy(buffer + received, ahead_ + first_, taken);
        first_ += taken;
        received += taken;
    }
    return received > 0 ? static_cast<int>(received) : -1;
}
