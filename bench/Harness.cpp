#include "Harness.h"

#include <time.h>

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <sstream>

namespace bench {
namespace {

std::string Fixed(double value, int digits) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(digits) << value;
    return text.str();
}

bool IsMet(const Finding& finding) {
    return !finding.goal || Median(finding.ratios) <= *finding.goal;
}

std::string Verdict(const Finding& finding) {
    if (!finding.goal) return "-";
    return IsMet(finding) ? "met" : "MISSED";
}

void PrintRow(std::ostream& out, const Finding& finding) {
    const auto [least, most] = std::minmax_element(finding.ratios.begin(), finding.ratios.end());
    out << std::left << std::setw(38) << finding.name << std::right << std::setw(8) << Fixed(*least, 2) << std::setw(8)
        << Fixed(Median(finding.ratios), 2) << std::setw(8) << Fixed(*most, 2) << std::setw(7)
        << (finding.goal ? Fixed(*finding.goal, 2) : "-") << "  " << std::left << std::setw(7) << Verdict(finding)
        << finding.note << "\n";
}

}  // namespace

void Session::Print(std::ostream& out) const {
    out << std::left << std::setw(38) << "benchmark" << std::right << std::setw(8) << "min" << std::setw(8) << "median"
        << std::setw(8) << "max" << std::setw(7) << "goal"
        << "  " << std::left << std::setw(7) << "is"
        << "figures of this run\n";
    for (const Finding& finding : findings) PrintRow(out, finding);
    out.flush();
}

bool Session::AreGoalsMet() const {
    return std::all_of(findings.begin(), findings.end(), IsMet);
}

double ProcessorTime() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

double Quantile(std::vector<double> values, double share) {
    std::sort(values.begin(), values.end());
    const double rank = std::ceil(share * static_cast<double>(values.size()));
    return values[static_cast<std::size_t>(std::max(rank, 1.0)) - 1];
}

std::vector<double> Pairs::Ratios() const {
    std::vector<double> ratios;
    for (std::size_t i = 0; i < measured.size(); ++i) ratios.push_back(measured[i] / reference[i]);
    return ratios;
}

Pairs RunPairs(int count, const std::function<double()>& measured, const std::function<double()>& reference) {
    Pairs pairs;
    measured();
    reference();
    for (int i = 0; i < count; ++i) {
        const bool referenceFirst = i % 2 == 1;
        if (referenceFirst) pairs.reference.push_back(reference());
        pairs.measured.push_back(measured());
        if (!referenceFirst) pairs.reference.push_back(reference());
    }
    return pairs;
}

std::string TimeText(double seconds) {
    if (seconds < 1e-3) return Fixed(seconds * 1e6, 1) + " us";
    return seconds < 1 ? Fixed(seconds * 1e3, 1) + " ms" : Fixed(seconds, 2) + " s";
}

std::string Times(const Pairs& pairs) {
    return TimeText(Median(pairs.measured)) + " against " + TimeText(Median(pairs.reference));
}

}  // namespace bench
