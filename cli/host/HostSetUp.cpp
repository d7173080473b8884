#include "HostSetUp.h"

#include <string>

#include "Host.h"

namespace cli {

void SetUpHost(const kuraset::SetDirectory& set, bool background) {
    const auto description = set.Description();
    HostFacts facts;
    facts.channelType = description.value("channel", 0);
    facts.currentSource = description.value("source", 0);
    facts.swModel = description.value("sw_model", std::string());
    const std::string launchFrom =
        background ? "bg_inference" : description.value("launched_from", std::string());
    if (!launchFrom.empty()) {
        facts.launchFrom = launchFrom;
    }
    TheHost().SetUp(facts, [set](const std::string& screen, const std::string& event, std::size_t rows) {
        set.AppendJournal({{"kind", "screen"}, {"screen", screen}, {"event", event}, {"rows", rows}});
    });
}

VerbError MapNotLoaded() {
    return {ExitCode::kFailed,
            "the solution map cannot be loaded: a value stands before its first solution; \"kura map check\" "
            "says where"};
}

}  // namespace cli
