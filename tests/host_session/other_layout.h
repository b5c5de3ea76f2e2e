// A host's TTCPSession that shares nothing with the library's own but its five functions.
#pragma once

class TTCPSession {
public:
    TTCPSession(char* host, int port, bool, int timeout, bool, char*, int);
    virtual ~TTCPSession();
    TTCPSession(const TTCPSession&) = delete;
    TTCPSession& operator=(const TTCPSession&) = delete;

    virtual int SendPacket(unsigned char* data, int length);
    virtual int RecvPacket(unsigned char* buffer, int length, bool);
    virtual int ReadLine(unsigned char* buffer, int max);

    char hosts_own[4096] = {};
    long peer_socket = 0;
};
