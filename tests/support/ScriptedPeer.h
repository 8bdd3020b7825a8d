/// @file
/// A peer that answers requests with exactly the bytes it was given.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

/// Listens on 127.0.0.1 and serves each connection on a thread of its own. Each request gets the next answer (the last
/// one again and again); an empty answer closes the connection, and so does one that begins with "!", after the rest.
class ScriptedPeer {
public:
    explicit ScriptedPeer(const std::vector<std::string>& answers) : ScriptedPeer([&](unsigned) { return answers; }) {}
    /// @param script  makes the answers when the port is known
    explicit ScriptedPeer(const std::function<std::vector<std::string>(unsigned port)>& script)
        : listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        bind(listener, reinterpret_cast<const sockaddr*>(&address), size);
        listen(listener, 64);
        getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size);
        port = ntohs(address.sin_port);
        answers = script(port);
        thread = std::thread([this] { Run(); });
    }
    ~ScriptedPeer() {
        shutdown(listener, SHUT_RDWR);
        thread.join();
        for (const int connection : open) shutdown(connection, SHUT_RDWR);
        for (std::thread& server : servers) server.join();
        for (const int connection : open) close(connection);
        close(listener);
    }
    unsigned Port() const { return port; }
    int Connections() const { return connections; }
    /// Head and body of the request, counted from 0.
    std::string Request(std::size_t index) {
        const std::lock_guard lock(mutex);
        return index < requests.size() ? requests[index] : "";
    }
    std::size_t RequestCount() {
        const std::lock_guard lock(mutex);
        return requests.size();
    }

private:
    void Run() {
        for (int connection; (connection = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC)) >= 0;) {
            ++connections;
            open.push_back(connection);
            servers.emplace_back([this, connection] {
                while (ServeOne(connection)) {
                }
                shutdown(connection, SHUT_RDWR);
            });
        }
    }
    bool ServeOne(int connection) {
        const std::string request = ReadRequest(connection);
        if (request.empty()) return false;
        std::string answer;
        {
            const std::lock_guard lock(mutex);
            answer = answers[std::min(requests.size(), answers.size() - 1)];
            requests.push_back(request);
        }
        const bool last = answer.empty() || answer[0] == '!';
        if (last) answer.erase(0, 1);
        for (std::size_t sent = 0; sent < answer.size();) {
            const ssize_t count = send(connection, answer.data() + sent, answer.size() - sent, MSG_NOSIGNAL);
            if (count <= 0) return false;
            sent += static_cast<std::size_t>(count);
        }
        return !last;
    }
    static std::string ReadRequest(int connection) {
        std::string text;
        std::size_t whole = std::string::npos;
        while (text.size() < whole) {
            char bytes[65536];
            const ssize_t count = recv(connection, bytes, sizeof bytes, 0);
            if (count <= 0) return "";
            text.append(bytes, static_cast<std::size_t>(count));
            const std::size_t end = text.find("\r\n\r\n"), field = text.find("Content-Length: ");
            if (end != std::string::npos && field < end) whole = end + 4 + std::stoul(text.substr(field + 16));
        }
        return text;
    }

    std::vector<std::string> answers;  ///< constant once it listens
    const int listener;
    unsigned port = 0;
    std::atomic<int> connections{0};
    std::mutex mutex;
    std::vector<std::string> requests;
    std::vector<int> open;             // the accepting thread's until it ends
    std::vector<std::thread> servers;  // likewise
    std::thread thread;
};
