// A defect report: one file with what somebody else needs to see a defect, and nothing that tells whose set
// it is.
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "PrivateValues.h"
#include "ReportFolder.h"
#include "Verbs.h"
#include "frame/Sizes.h"
#include "scenario/Process.h"
#include "set/SetUse.h"

namespace cli {

namespace {

namespace fs = std::filesystem;

constexpr std::chrono::seconds kPackPatience{120};

struct PackOptions {
    std::string output;
    std::vector<std::string> hide;
    bool show = false;
    bool force = false;
};

/// Writes the archive beside its place and moves it there when it is whole.
void PackInto(const fs::path& file, const fs::path& folder) {
    const std::string unfinished = file.string() + ".unfinished-" + std::to_string(getpid());
    std::error_code error;
    try {
        const auto result = scenario::RunProcess(
            {"/bin/tar", "--create", "--gzip", "--sparse", "--owner=0", "--group=0", "--numeric-owner",
             "--file", unfinished, "--force-local", "--directory", folder.string(), "."},
            kPackPatience);
        if (result.status != 0) {
            // gzip begins its message with an empty line.
            const std::string why =
                result.err.substr(std::min(result.err.find_first_not_of('\n'), result.err.size()));
            throw VerbError(ExitCode::kFailed, file.string() + ": the report cannot be written: " +
                                                   why.substr(0, why.find('\n')));
        }
        fs::rename(unfinished, file);
    } catch (...) {
        fs::remove(unfinished, error);
        throw;
    }
}

void PrintPacked(const Json& document) {
    for (const Json& entry : document.at("content")) {
        std::cout << entry.at("name").get<std::string>() << "  "
                  << (entry.contains("files") ? entry.at("files").dump() + " files"
                                              : SizeText(entry.at("bytes")))
                  << '\n';
    }
    for (const Json& entry : document.at("taken_out")) {
        std::cout << "taken out: " << entry.at("what").get<std::string>() << ", " << entry.at("places")
                  << (entry.at("places") == 1 ? " place\n" : " places\n");
    }
    for (const Json& entry : document.at("left_out")) {
        std::cout << "left out: " << entry.at("name").get<std::string>() << ": "
                  << entry.at("why").get<std::string>() << '\n';
    }
    if (document.at("file").is_string()) {
        std::cout << "Wrote " << document.at("file").get<std::string>() << '\n';
    }
}

Outcome PackReport(const Session& session, const PackOptions& options) {
    scenario::EndInGoodOrder();
    if (!options.show && options.output.empty()) {
        throw VerbError(ExitCode::kUsage, "-o FILE says where the report goes; --show only lists it");
    }
    const fs::path file = options.show ? fs::path() : fs::absolute(options.output);
    if (!options.show && !options.force && fs::exists(file)) {
        throw VerbError(ExitCode::kFailed, options.output + ": is there already (--force replaces it)");
    }
    try {
        const auto set = session.OpenSet();
        const scenario::TemporaryFolder place;
        PrivateValues values(set, options.hide);
        Json document = {{"file", nullptr}};
        place.WithRoom([&] {
            const kuraset::SetUse use(set.Path());
            document.update(LayOutReport(set, place.Path(), values));
        });
        if (!options.show) {
            PackInto(file, place.Path());
            document["file"] = options.output;
        }
        return {document, [document] { PrintPacked(document); }};
    } catch (const scenario::Interrupted&) {
        throw VerbError(ExitCode::kFailed, "interrupted; no report is written");
    }
}

}  // namespace

void AddReportVerb(CLI::App& app, const Session& session, Selection& selection) {
    CLI::App* verb =
        app.add_subcommand("report", "Pack the set and its last run into a file that can be sent");
    auto options = std::make_shared<PackOptions>();
    verb->add_option("-o,--output", options->output, "The report to write, a tar.gz")->type_name("FILE");
    verb->add_flag("--show", options->show, "Only list what would go in, and what is taken out");
    verb->add_option("--hide", options->hide, "A further text to take out; more than one may be given")
        ->type_name("TEXT")
        ->allow_extra_args(false);
    verb->add_flag("--force", options->force, "Replace the file that is there");
    Declare(verb, selection, Place::kOutside, [&session, options] { return PackReport(session, *options); });
}

}  // namespace cli
