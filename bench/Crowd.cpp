// Requests beside many other connections.
#include <atomic>
#include <memory>
#include <thread>

#include "Benchmarks.h"
#include "Node.h"
#include "RawHttp.h"

namespace bench {
namespace {

using Sockets = std::vector<std::unique_ptr<RawSocket>>;

Sockets Connect(int count, unsigned port) {
    Sockets sockets;
    for (int i = 0; i < count; ++i) sockets.push_back(std::make_unique<RawSocket>(port));
    return sockets;
}

/// Connections that are idle, and some on which a request arrives at one byte a second each.
class Crowd {
public:
    Crowd(int idle, int slow, unsigned port)
        : idle(Connect(idle, port)), slow(Connect(slow, port)), thread([this] { Drip(); }) {}
    ~Crowd() {
        stop = true;
        thread.join();
    }

private:
    void Drip() {
        const std::string request = "POST /com.tessel.lum.conf.core/voxrpcserver HTTP/1.1\r\nHost: localhost\r\n";
        const auto pause = std::chrono::microseconds(1000000 / slow.size());
        for (std::size_t turn = 0; !stop; ++turn) {
            slow[turn % slow.size()]->Send(request.substr(turn / slow.size() % request.size(), 1));
            std::this_thread::sleep_for(pause);
        }
    }

    const Sockets idle, slow;
    std::atomic<bool> stop{false};
    std::thread thread;
};

/// Seconds of the slowest of a hundred requests.
double SlowestPercent(const Node& node, int requests) {
    const auto ask = [&] { return Seconds([&] { node.Client().Notify("localhost"); }); };
    for (int i = requests / 10; i > 0; --i) ask();  // until connections that came or went are dealt with
    std::vector<double> times;
    for (int i = 0; i < requests; ++i) times.push_back(ask());
    return Quantile(times, 0.99);
}

}  // namespace

void MeasureCrowd(Session& session) {
    const Node& node = Node::Get();
    const int requests = session.Choose(1000, 10);
    const auto beside = [&] {
        const Crowd crowd(session.Choose(1000, 20), session.Choose(50, 5), node.GetPort());
        return SlowestPercent(node, requests);
    };
    const Pairs pairs = RunPairs(session.Choose(41, 1), beside, [&] { return SlowestPercent(node, requests); });
    session.Add({"policyOp beside 1,050 connections", pairs.Ratios(), 1.5, "99th percentile " + Times(pairs)});
}

}  // namespace bench
