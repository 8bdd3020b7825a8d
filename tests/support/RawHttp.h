/// @file
/// A client that sends exactly the bytes it is told to.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>

/// One answer of a server.
struct RawAnswer {
    int status = 0;    ///< 0: the connection ended without one
    std::string head;  ///< status line and fields, with the empty line
    std::string body;  ///< by its Content-Length
};

/// A connection of raw bytes. Nothing waits longer than 30 seconds.
class RawSocket {
public:
    explicit RawSocket(unsigned port) : descriptor(socket(AF_INET, SOCK_STREAM, 0)) {
        const timeval limit{30, 0};
        setsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
        setsockopt(descriptor, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<unsigned short>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
            close(descriptor);
            throw std::runtime_error(std::string("cannot connect: ") + std::strerror(errno));
        }
    }
    RawSocket(const RawSocket&) = delete;
    RawSocket& operator=(const RawSocket&) = delete;
    virtual ~RawSocket() { close(descriptor); }

    /// False when the peer takes no more.
    virtual bool Send(std::string_view bytes) {
        while (!bytes.empty()) {
            const ssize_t sent = send(descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL);
            if (sent <= 0) return false;
            bytes.remove_prefix(static_cast<std::size_t>(sent));
        }
        return true;
    }
    /// What one read gives; empty at the end of the connection.
    virtual std::string ReceiveSome() {
        char bytes[65536];
        const ssize_t count = recv(descriptor, bytes, sizeof bytes, 0);
        if (count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) throw std::runtime_error("the peer is silent");
        return std::string(bytes, count > 0 ? static_cast<std::size_t>(count) : 0);
    }
    /// Says that nothing more will be sent.
    void Finish() { shutdown(descriptor, SHUT_WR); }
    int GetDescriptor() const noexcept { return descriptor; }

private:
    int descriptor;
};

/// HTTP answers on a connection.
template <class Socket>
class RawHttpOver : public Socket {
public:
    using Socket::Socket;

    /// The next answer, an interim one (100) too.
    RawAnswer Receive() {
        RawAnswer answer;
        std::size_t end = 0;
        while ((end = received.find("\r\n\r\n")) == std::string::npos)
            if (!Fill()) return answer;
        answer.head = received.substr(0, end + 4);
        received.erase(0, end + 4);
        answer.status = answer.head.size() > 12 ? std::stoi(answer.head.substr(9, 3)) : 0;
        const std::size_t length = LengthOf(answer.head);
        while (received.size() < length)
            if (!Fill()) return RawAnswer();
        answer.body = received.substr(0, length);
        received.erase(0, length);
        return answer;
    }
    RawAnswer Exchange(std::string_view bytes) {
        this->Send(bytes);
        return Receive();
    }
    /// Waits until the peer closes; false when bytes come instead.
    bool IsClosed() { return received.empty() && !Fill(); }

private:
    bool Fill() {
        const std::string more = this->ReceiveSome();
        received += more;
        return !more.empty();
    }
    static std::size_t LengthOf(const std::string& head) {
        const char name[] = "\r\nContent-Length: ";
        const std::size_t at = head.find(name);
        return at == std::string::npos ? 0 : std::stoul(head.substr(at + sizeof name - 1));
    }

    std::string received;
};

using RawHttp = RawHttpOver<RawSocket>;

/// A well-formed POST of XML.
inline std::string PostOf(const std::string& path, const std::string& body, const std::string& moreFields = "") {
    return "POST " + path + " HTTP/1.1\r\nHost: localhost\r\nContent-Type: text/xml; charset=utf-8\r\n" + moreFields +
           "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}
