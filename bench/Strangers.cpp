// A proven caller's requests beside refused calls without end.
#include <sched.h>

#include <atomic>
#include <filesystem>
#include <memory>
#include <thread>

#include "Benchmarks.h"
#include "Node.h"
#include "RawHttp.h"

namespace bench {
namespace {

constexpr int kConnections = 16;

const std::string& RefusedCall() {
    static const std::string call =
        PostOf("/com.tessel.lum.conf.core/voxrpcserver",
               "<e:Envelope xmlns:e='http://schemas.xmlsoap.org/soap/envelope/'><e:Body><list><PolicySelection>"
               "<selection>8</selection><name/></PolicySelection></list></e:Body></e:Envelope>");
    return call;
}

/// Where this process may run.
cpu_set_t Processors() {
    cpu_set_t all;
    sched_getaffinity(0, sizeof all, &all);
    return all;
}

cpu_set_t Only(const cpu_set_t& all, bool last) {
    cpu_set_t one;
    CPU_ZERO(&one);
    for (int i = 0; i < CPU_SETSIZE; ++i) {
        if (!CPU_ISSET(i, &all) || (!last && CPU_COUNT(&one) > 0)) continue;
        CPU_ZERO(&one);
        CPU_SET(i, &one);
    }
    return one;
}

/// Every thread that there is.
void RunOn(const cpu_set_t& processors) {
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task"))
        sched_setaffinity(std::stoi(task.path().filename()), sizeof processors, &processors);
}

/// Connections that call and are refused, one call after another, on the last processor; all else is on the first one.
class Strangers {
public:
    explicit Strangers(unsigned port) : all(Processors()) {
        for (int i = 0; i < kConnections; ++i) connections.push_back(std::make_unique<RawHttp>(port));
        RunOn(Only(all, false));
        thread = std::thread([this] { Call(); });
        begun.wait(false);
    }
    ~Strangers() {
        stop = true;
        thread.join();
        RunOn(all);
    }

private:
    void Call() {
        const cpu_set_t own = Only(all, true);
        sched_setaffinity(0, sizeof own, &own);
        while (!stop) {
            for (const auto& connection : connections) connection->Send(RefusedCall());
            for (const auto& connection : connections) connection->Receive();
            begun = true;
            begun.notify_one();
        }
    }

    const cpu_set_t all;
    std::vector<std::unique_ptr<RawHttp>> connections;
    std::atomic<bool> begun{false}, stop{false};
    std::thread thread;
};

/// Seconds of the middle one of some requests.
double Middle(const Node& node, int requests) {
    std::vector<double> times;
    for (int i = 0; i < requests; ++i) times.push_back(Seconds([&] { node.Client().Notify("localhost"); }));
    return Quantile(times, 0.5);
}

}  // namespace

void MeasureStrangers(Session& session) {
    const Node& node = Node::Get();
    const int requests = session.Choose(500, 5);
    const auto beside = [&] {
        const Strangers strangers(node.GetPort());
        return Middle(node, requests);
    };
    const auto alone = [&] {
        const cpu_set_t all = Processors();
        RunOn(Only(all, false));
        const double seconds = Middle(node, requests);
        RunOn(all);
        return seconds;
    };
    const Pairs pairs = RunPairs(session.Choose(41, 1), beside, alone);
    session.Add({"policyOp beside refused calls", pairs.Ratios(), 2, "the middle one " + Times(pairs)});
}

}  // namespace bench
