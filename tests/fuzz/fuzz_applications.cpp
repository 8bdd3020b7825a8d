// Any two texts as the files of applications, parted by a line "----": the list, and the file of the application
// "shop". What is loaded is whole: names of files, groups that are there, trimmed texts; each name that stands twice is
// told.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "AppConfig.h"
#include "LumConfCluster/Applications.h"
#include "PlainName.h"

namespace {

using LumPalStr::String_t;

void Expect(bool holds) {
    if (!holds) std::abort();
}

void ExpectTrimmed(const String_t& text) {
    Expect(String_t(text).Trim() == text);
}

void Check(const LumConfCluster::Application& application) {
    Expect(application.GetName() == "shop");
    for (int i = 0; i < application.GetPolicyNames().Count(); ++i) ExpectTrimmed(application.GetPolicyNames()[i]);
    const LumConfCluster::Instances instances = application.GetInstances();
    String_t text;
    bool isTwice = false;
    for (int i = 0; i < instances.Count(); ++i) {
        ExpectTrimmed(instances[i].GetName());
        Expect(instances[i].GetResourceGroup().GetName() == "web");
        for (int j = 0; j < i && i < 30; ++j) isTwice = isTwice || instances[i].GetName() == instances[j].GetName();
    }
    Expect(!isTwice || application.AreAmbiguousInstancesPresent(text));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const TempRoot root;
    static const AppConfig config(root);
    static const MadeUpCluster made;
    static const bool isMade = (made.Add("web", LumConfCluster::RGState::Online, "north"), true);
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::size_t end = input.find("\n----\n");
    WriteText(config.ListPath(), std::string(input.substr(0, end)));
    WriteText(config.Path("shop"), std::string(end == input.npos ? "" : input.substr(end + 6)));
    LumConfCluster::Applications applications;
    try {
        applications.LoadConfig(made.cluster, made.groups);
    } catch (const LumPalMsg::Exception_t&) {
    }
    Expect(isMade && applications.Count() <= 1);
    if (applications.Count() == 1) Check(applications[0]);
    return 0;
}
