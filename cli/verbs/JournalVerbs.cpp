// The journal and the log in it, run by run. A run is one process that had the set.
#include <algorithm>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <iostream>
#include <memory>
#include <regex>
#include <sstream>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "Verbs.h"
#include "frame/Answer.h"
#include "frame/Complaint.h"
#include "frame/Look.h"
#include "scenario/Patterns.h"
#include "support/NearestName.h"

namespace cli {

namespace {

constexpr std::chrono::milliseconds kFollowPause{200};

struct JournalOptions {
    std::string kind;
    bool all = false;
    bool clear = false;
    std::string function;
    int priority = 0;

    bool last = false;
    int run = 0;
    std::string since;  ///< empty, or the start of a time as the journal writes it
    bool follow = false;
};

/// One run as it is shown.
struct ShownRun {
    int number = 0;
    std::string title;
    Json entries = Json::array();
};

std::string TextOf(const Json& entry, const char* key) {
    const auto found = entry.find(key);
    if (found == entry.end()) {
        return "";
    }
    return Shown(*found);
}

/// Replaces control characters, which would disturb a terminal. The one-byte time of a usage event may be
/// one.
std::string Legible(std::string text) {
    for (char& c : text) {
        if (static_cast<unsigned char>(c) < ' ' || c == 0x7f) {
            c = '?';
        }
    }
    return text;
}

/// Throws VerbError when word is not empty and none of the known ones.
void Demand(const std::string& word, const char* what, const std::vector<std::string>& known) {
    if (!word.empty() && std::find(known.begin(), known.end(), word) == known.end()) {
        throw VerbError(ExitCode::kUsage, what + word + support::Suggestion(word, known));
    }
}

// --- Which entries ---

using Fits = std::function<bool(const Json& entry)>;

Fits InJournal(const JournalOptions& options) {
    return [options](const Json& entry) {
        const std::string kind = TextOf(entry, "kind");
        return options.kind.empty() ? options.all || kind != "log" : kind == options.kind;
    };
}

Fits InLog(const JournalOptions& options) {
    return [options](const Json& entry) {
        return TextOf(entry, "kind") == "log" &&
               (options.function.empty() || TextOf(entry, "function") == options.function) &&
               entry.value("priority", 0) >= options.priority;
    };
}

void DemandRun(const std::vector<kuraset::JournalRun>& runs, int number) {
    const auto isIt = [number](const kuraset::JournalRun& run) { return run.number == number; };
    if (number == 0 || std::any_of(runs.begin(), runs.end(), isIt)) {
        return;
    }
    const int last = runs.empty() ? 0 : runs.back().number;
    throw VerbError(ExitCode::kNoSuchItem,
                    "the journal has no run " + std::to_string(number) +
                        (last == 0 ? "; it is empty" : "; its last is " + std::to_string(last)));
}

/// The runs that the options name, each with those of its entries that fit.
std::vector<ShownRun> Select(const std::vector<kuraset::JournalRun>& runs, const JournalOptions& options,
                             const Fits& fits) {
    DemandRun(runs, options.run);
    std::vector<ShownRun> selected;
    for (const kuraset::JournalRun& run : runs) {
        const bool isNamed =
            options.run != 0 ? run.number == options.run : !options.last || &run == &runs.back();
        if (!isNamed) {
            continue;
        }
        ShownRun shown{run.number, run.time + "  " + run.command, Json::array()};
        for (const auto& entry : run.entries) {
            Json document = ToDocument(entry);
            const bool isInTime = options.since.empty() || TextOf(document, "time") >= options.since;
            if (isInTime && fits(document)) {
                shown.entries.push_back(std::move(document));
            }
        }
        selected.push_back(std::move(shown));
    }
    return selected;
}

Json EntriesOf(const std::vector<ShownRun>& runs) {
    Json entries = Json::array();
    for (const ShownRun& run : runs) {
        entries.insert(entries.end(), run.entries.begin(), run.entries.end());
    }
    return entries;
}

// --- How they are shown ---

using EntryText = std::function<std::string(const Json& entry)>;

std::string JournalLine(const Json& entry) {
    std::string line = TextOf(entry, "time") + "  " + TextOf(entry, "kind");
    for (const auto& [key, value] : entry.items()) {
        if (key != "time" && key != "kind") {
            line += "  " + key + '=' + Legible(Shown(value));
        }
    }
    return line;
}

std::string LogText(const Json& entry) {
    const int priority = entry.value("priority", 0);
    const std::string text = TextOf(entry, "time") + ' ' + TextOf(entry, "priority") + ' ' +
                             TextOf(entry, "function") + ": " + Legible(TextOf(entry, "message"));
    return Painted(text, priority >= 6 ? Tone::kBad : priority == 5 ? Tone::kWarning : Tone::kPlain);
}

/// A line in front of each run that has something to show, but for what is older than the first run.
std::string TextOf(const std::vector<ShownRun>& runs, const EntryText& line) {
    std::string text;
    for (const ShownRun& run : runs) {
        if (run.number != 0 && !run.entries.empty()) {
            text += Painted("run " + std::to_string(run.number) + "  " + Legible(run.title), Tone::kHeading) +
                    '\n';
        }
        for (const Json& entry : run.entries) {
            text += line(entry) + '\n';
        }
    }
    return text;
}

/// Shows what comes, until the reader or the set is gone. Never throws.
ExitCode Follow(const kuraset::SetDirectory& set, std::size_t seen, const Fits& fits, const EntryText& line) {
    try {
        std::uintmax_t size = std::filesystem::file_size(set.JournalPath());
        for (;;) {
            WaitWhileRead(kFollowPause);
            const std::uintmax_t now = std::filesystem::file_size(set.JournalPath());
            if (now == size) {
                continue;
            }
            seen = now < size ? 0 : seen;  // cleared
            size = now;
            const auto entries = set.ReadJournal();
            for (; seen < entries.size(); ++seen) {
                const Json entry = ToDocument(entries[seen]);
                if (fits(entry)) {
                    Deliver(line(entry) + '\n');
                }
            }
        }
    } catch (const AnswerLost& lost) {
        if (!lost.ReaderLeft()) {
            std::cerr << "kura: " << lost.what() << '\n';
        }
        return ExitCode::kFailed;
    } catch (const std::exception& error) {
        std::cerr << "kura: " << error.what() << '\n';
        return ExitCode::kFailed;
    }
}

/// The answer with the list under that name.
Outcome ShowRuns(const kuraset::SetDirectory& set, const JournalOptions& options, const char* name,
                 const Fits& fits, const EntryText& line) {
    const auto all = set.ReadRuns();
    std::size_t seen = 0;
    for (const kuraset::JournalRun& run : all) {
        seen += run.entries.size();
    }
    const bool isOnlyNew = options.follow && !options.last && options.run == 0 && options.since.empty();
    const auto runs = isOnlyNew ? std::vector<ShownRun>() : Select(all, options, fits);
    Outcome outcome{{{name, EntriesOf(runs)}}, [runs, line] { std::cout << TextOf(runs, line); }};
    if (options.follow) {
        TheLookOptions().pager = false;
        outcome.afterwards = [set, seen, fits, line] { return Follow(set, seen, fits, line); };
    }
    return outcome;
}

/// The marks themselves, which are no entries of a run.
Json MarksOf(const kuraset::SetDirectory& set, const JournalOptions& options) {
    Json marks = Json::array();
    for (const auto& entry : set.ReadJournal("run")) {
        const Json mark = ToDocument(entry);
        if (TextOf(mark, "time") >= options.since &&
            (options.run == 0 || mark.value("run", 0) == options.run)) {
            marks.push_back(mark);
        }
    }
    if (options.last && marks.size() > 1) {
        marks = Json::array({marks.back()});
    }
    return marks;
}

Outcome Journal(const Session& session, const JournalOptions& options) {
    Demand(options.kind, "the journal has no such kind: ", scenario::LineKinds());
    const auto set = session.OpenSet();
    Outcome outcome;
    if (options.kind == "run") {
        const Json marks = MarksOf(set, options);
        outcome = {{{"entries", marks}}, [marks] {
                       for (const Json& mark : marks) {
                           std::cout << JournalLine(mark) << '\n';
                       }
                   }};
    } else {
        outcome = ShowRuns(set, options, "entries", InJournal(options), &JournalLine);
    }
    if (options.clear) {
        set.ClearJournal();
    }
    return outcome;
}

/// Throws VerbError when the log has lines and none of that function.
void DemandFunction(const kuraset::SetDirectory& set, const std::string& function) {
    std::vector<std::string> functions;
    for (const auto& entry : set.ReadJournal("log")) {
        functions.push_back(TextOf(ToDocument(entry), "function"));
    }
    if (!functions.empty()) {
        Demand(function, "no line of such a function: ", functions);
    }
}

Outcome Log(const Session& session, const JournalOptions& options) {
    const auto set = session.OpenSet();
    if (!options.function.empty()) {
        DemandFunction(set, options.function);
    }
    return ShowRuns(set, options, "lines", InLog(options), &LogText);
}

// --- Times ---

/// The local time of that moment: "2026-01-31T23:59:59".
std::string LocalTime(std::chrono::system_clock::time_point when) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(when);
    std::tm local{};
    localtime_r(&seconds, &local);
    char text[64];
    return {text, std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &local)};
}

/// What --since says, as the journal writes times; empty for a text that says nothing.
std::string SinceOf(const std::string& text) {
    static const std::regex kAgo("([0-9]{1,6})([smhd])");
    static const std::regex kClock("[0-9]{2}:[0-9]{2}(:[0-9]{2})?");
    static const std::regex kDate("[0-9]{4}-[0-9]{2}-[0-9]{2}([T ][0-9]{2}:[0-9]{2}(:[0-9]{2})?)?");
    const auto now = std::chrono::system_clock::now();
    std::smatch parts;
    if (std::regex_match(text, parts, kAgo)) {
        const char unit = parts[2].str().front();
        const int seconds = unit == 's' ? 1 : unit == 'm' ? 60 : unit == 'h' ? 3600 : 86400;
        const auto ago = std::chrono::seconds(seconds) * std::stoi(parts[1]);
        return LocalTime(now - ago);
    }
    if (std::regex_match(text, kClock)) {
        return LocalTime(now).substr(0, std::string("2026-01-31T").size()) + text;
    }
    if (!std::regex_match(text, kDate)) {
        return "";
    }
    std::string time = text;
    std::replace(time.begin(), time.end(), ' ', 'T');
    return time;
}

void AddRunOptions(CLI::App* verb, const std::shared_ptr<JournalOptions>& options) {
    CLI::Option* last = verb->add_flag("--last", options->last, "Only the last run");
    verb->add_option("--run", options->run, "Only the run with this number")
        ->type_name("RUN")
        ->check([](const std::string& text) {
            return text.find_first_not_of("0123456789") == std::string::npos && text != "0"
                       ? std::string()
                       : "must be the number of a run";
        })
        ->excludes(last);
    verb->add_option_function<std::string>(
            "--since", [options](const std::string& text) { options->since = SinceOf(text); },
            "Only from this time on: 2026-01-31, 2026-01-31T23:59:59, 23:59 of today, or 30s, 10m, 2h, 3d "
            "ago")
        ->type_name("TIME")
        ->check([](const std::string& text) {
            return SinceOf(text).empty() ? "must look like 2026-01-31T23:59:59, 23:59 or 10m" : std::string();
        });
    verb->add_flag("--follow", options->follow,
                   "Go on with what comes, until Ctrl-C; alone, only with what comes");
}

}  // namespace

void AddJournalVerbs(CLI::App& app, const Session& session, Selection& selection) {
    auto options = std::make_shared<JournalOptions>();
    const auto demandText = [&session, options] {
        if (session.json && options->follow) {
            throw VerbError(ExitCode::kUsage, "--follow never ends, and --json is one document");
        }
    };

    CLI::App* journal = app.add_subcommand("journal", "What the library asked of the set, in order");
    CLI::Option* kind = journal
                            ->add_option("--kind", options->kind,
                                         "Only entries of this kind: setting, launch, engine, event, ...")
                            ->type_name("KIND");
    journal->add_flag("--all", options->all, "The library's log lines, too")->excludes(kind);
    AddRunOptions(journal, options);
    journal->add_flag("--clear", options->clear, "Forget the entries after showing them");
    Declare(journal, selection, Place::kOutside, [&session, options, demandText] {
        demandText();
        return Journal(session, *options);
    });

    CLI::App* log = app.add_subcommand("log", "The library's log lines");
    log->add_option("--function", options->function, "Only lines of this function")->type_name("FUNCTION");
    log->add_option("--priority", options->priority,
                    "Only lines of at least this priority: 3 debug to 6 error")
        ->check(Between(3, 6));
    AddRunOptions(log, options);
    Declare(log, selection, Place::kOutside, [&session, options, demandText] {
        demandText();
        return Log(session, *options);
    });
}

}  // namespace cli
