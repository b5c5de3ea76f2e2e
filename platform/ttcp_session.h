// TTCPSession, the TCP client session that the transport talks through.
//
// The class belongs to the host process. By default the library carries one of its own for POSIX, hidden, so
// that a host's class of another layout is never mixed with it; built with KORVANE_SESSION=host it leaves
// these five functions undefined, to be resolved from the host, and KORVANE_SESSION_HEADER names the host's
// own declaration.
#pragma once

#ifdef KORVANE_SESSION_HEADER
#include KORVANE_SESSION_HEADER
#else

#define KORVANE_SESSION_SOCKET socket_handle

#include <cstddef>

/// A connection to one peer, used by one thread.
///
/// The carried session takes its time-out in seconds and applies it to connecting and to each call below; 0
/// or less waits forever. Once a call has failed every later one fails at once. The flags, the text and the
/// last number of the constructor mean nothing to it, and `host` is a numeric IPv4 address: nothing is
/// resolved.
class TTCPSession {
public:
    TTCPSession(char* host, int port, bool, int timeout, bool, char*, int);
    ~TTCPSession();
    TTCPSession(const TTCPSession&) = delete;
    TTCPSession& operator=(const TTCPSession&) = delete;

    /// Sends all `length` bytes; on failure `socket_handle` is negative afterwards. Raises no SIGPIPE. The first packet's
    /// bytes may leave only with the second's, or when the reply is read.
    int SendPacket(unsigned char* data, int length);

    /// Reads up to and with the next line feed, at most `max` bytes; what is left of a longer line comes with
    /// the next call. Returns the number of bytes, negative on failure and at the end of the stream.
    int ReadLine(unsigned char* buffer, int max);

    /// Receives `length` bytes, fewer only where the stream ends or fails. Returns the number of bytes,
    /// negative when there were none.
    int RecvPacket(unsigned char* buffer, int length, bool);

    int socket_handle = -1;

private:
    /// One call of those above.
    struct step {
        long long deadline;
        bool first = true; ///< nothing was sent or received yet
    };

    bool connect_to(const char* host, int port);
    int next_flags(short events, bool limited, step& now) const;
    void begin_to_receive();
    void grow_ahead();
    bool refill(step& now);
    void drop();

    static constexpr std::size_t short_reply = 8192;

    int timeout_;
    bool sending_limited_ = false; ///< the socket's own waits end with the time-out
    bool receiving_limited_ = false;
    bool receiving_ = false; ///< the first byte was asked for
    bool held_back_ = false; ///< the kernel may not have sent all it was given
    bool ended_ = false;
    int packets_ = 0; ///< sent, and how many bytes in all
    std::size_t sent_ = 0;
    unsigned char* ahead_ = short_ahead_; ///< bytes received and not yet asked for: [first_, last_)
    std::size_t ahead_size_ = short_reply;
    std::size_t first_ = 0;
    std::size_t last_ = 0;
    unsigned char
        short_ahead_[short_reply]; // a page of 10 records and less: no block of the heap, no second call
};

#endif
