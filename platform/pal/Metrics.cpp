// LumPalMetrics.h: the one place that includes the library of the metrics.
#include "LumPalMetrics.h"

#include <prometheus/counter.h>
#include <prometheus/histogram.h>
#include <prometheus/registry.h>
#include <prometheus/text_serializer.h>

#include <algorithm>

#include "LumPalPlainMutex.h"

namespace LumPalMetrics {
namespace {

using prometheus::MetricFamily;
using prometheus::MetricType;

const prometheus::Histogram::BucketBoundaries kSeconds = {.001, .0025, .005, .01, .025, .05, .1, .25,
                                                          .5,   1,     2.5,  5,   10,   30,  60};

/// What is asked when the metrics are read.
class Sources {
public:
    void Add(prometheus::Collectable* source) {
        const LumPalThread::PlainLock_t lock(mutex);
        all.push_back(source);
    }
    void Remove(prometheus::Collectable* source) {
        const LumPalThread::PlainLock_t lock(mutex);
        all.erase(std::find(all.begin(), all.end(), source));
    }
    void Collect(std::vector<MetricFamily>& found) {
        const LumPalThread::PlainLock_t lock(mutex);
        for (const prometheus::Collectable* source : all) {
            for (MetricFamily& family : source->Collect()) found.push_back(std::move(family));
        }
    }

private:
    LumPalThread::PlainMutex_t mutex;
    std::vector<prometheus::Collectable*> all LUMPAL_GUARDED_BY(mutex);
};

struct Everything {
    prometheus::Registry registry;
    Sources sources;
};

Everything& TheMetrics() {
    static Everything& everything = *new Everything;  // never destroyed: threads count until the process is over
    return everything;
}

}  // namespace

Counter_t::Counter_t(const char* name, const char* help)
    : family(&prometheus::BuildCounter().Name(name).Help(help).Register(TheMetrics().registry)) {}

void Counter_t::BeginAtZero() noexcept {
    Guarded([&] { static_cast<prometheus::Family<prometheus::Counter>*>(family)->Add({}); });
}

void Counter_t::Add(const Labels& labels) noexcept {
    Guarded([&] { static_cast<prometheus::Family<prometheus::Counter>*>(family)->Add(labels).Increment(); });
}

Durations_t::Durations_t(const char* name, const char* help)
    : family(&prometheus::BuildHistogram().Name(name).Help(help).Register(TheMetrics().registry)) {}

void Durations_t::Observe(double seconds, const Labels& labels) noexcept {
    Guarded([&] {
        static_cast<prometheus::Family<prometheus::Histogram>*>(family)->Add(labels, kSeconds).Observe(seconds);
    });
}

class Values_t::Source : public prometheus::Collectable {
public:
    Source(const char* name, const char* help, Ask ask) : name(name), help(help), ask(std::move(ask)) {}

    std::vector<MetricFamily> Collect() const override {
        MetricFamily family{name, help, MetricType::Gauge, {}};
        Guarded([&] {
            for (const Sample& sample : ask()) family.metric.push_back(MetricOf(sample));
        });
        return {std::move(family)};
    }

private:
    static prometheus::ClientMetric MetricOf(const Sample& sample) {
        prometheus::ClientMetric metric;
        for (const auto& [label, value] : sample.labels) metric.label.push_back({label, value});
        metric.gauge.value = sample.value;
        return metric;
    }

    const std::string name, help;
    const Ask ask;
};

Values_t::Values_t(const char* name, const char* help, Ask ask) : source(new Source(name, help, std::move(ask))) {
    TheMetrics().sources.Add(source);
}

Values_t::~Values_t() {
    TheMetrics().sources.Remove(source);
    delete source;
}

std::string WriteText() {
    std::vector<MetricFamily> families = TheMetrics().registry.Collect();
    TheMetrics().sources.Collect(families);
    std::erase_if(families, [](const MetricFamily& family) { return family.metric.empty(); });
    std::sort(families.begin(), families.end(),
              [](const MetricFamily& left, const MetricFamily& right) { return left.name < right.name; });
    return prometheus::TextSerializer().Serialize(families);
}

}  // namespace LumPalMetrics
