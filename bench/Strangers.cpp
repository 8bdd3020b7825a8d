// A proven caller's requests beside strangers' without end.
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

/// What strangers do without end.
struct Kind {
    const char* row;
    std::string request;
    bool anew;  ///< on a connection of its own
};

constexpr char kServer[] = "/com.tessel.lum.conf.core/voxrpcserver";
constexpr int kLargeBody = 1 << 20, kManyTypes = 100'000;

std::string Call(const std::string& inner, const char* path = kServer) {
    return PostOf(path, "<e:Envelope xmlns:e='http://schemas.xmlsoap.org/soap/envelope/'><e:Body>" + inner +
                            "</e:Body></e:Envelope>");
}

std::string ListOf(const std::string& name) {
    return "<list><PolicySelection><selection>8</selection><name>" + name + "</name></PolicySelection></list>";
}

std::string Question() {
    std::string types;
    for (int i = 0; i < kManyTypes; ++i) types += "type" + std::to_string(i) + " ";
    return Call("<checkpolicy><types>" + types + "</types></checkpolicy>",
                "/com.tessel.lum.conf.core/checkpolicy/voxrpcserver");
}

std::vector<Kind> Kinds() {
    return {{"policyOp beside refused calls", Call(ListOf("")), false},
            {"policyOp beside malformed calls", Call("<list><PolicySelection>"), false},
            {"policyOp beside large bodies", Call(ListOf(std::string(kLargeBody, 'x'))), false},
            {"policyOp beside long questions", Question(), false},
            {"policyOp beside new connections", Call(ListOf("")), true}};
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

/// Connections on which one request follows another, on the last processor; all else is on the first one.
class Strangers {
public:
    Strangers(const Kind& kind, unsigned port) : kind(kind), port(port), all(Processors()) {
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
        std::vector<std::unique_ptr<RawHttp>> connections(kConnections);
        while (!stop) {
            for (auto& connection : connections) {
                if (!connection) connection = std::make_unique<RawHttp>(port);
                connection->Send(kind.request);
            }
            for (auto& connection : connections) {
                // The node closes what it has refused with a body on its way.
                const bool isClosed = connection->Receive().status == 0;
                if (isClosed || kind.anew) connection.reset();
            }
            begun = true;
            begun.notify_one();
        }
    }

    const Kind& kind;
    const unsigned port;
    const cpu_set_t all;
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
    const auto alone = [&] {
        const cpu_set_t all = Processors();
        RunOn(Only(all, false));
        const double seconds = Middle(node, requests);
        RunOn(all);
        return seconds;
    };
    for (const Kind& kind : Kinds()) {
        const auto beside = [&] {
            const Strangers strangers(kind, node.GetPort());
            return Middle(node, requests);
        };
        const Pairs pairs = RunPairs(session.Choose(41, 1), beside, alone);
        session.Add({kind.row, pairs.Ratios(), 2, "the middle one " + Times(pairs)});
    }
}

}  // namespace bench
