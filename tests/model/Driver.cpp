#include "Driver.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <iterator>
#include <sstream>
#include <tuple>
#include <type_traits>
#include <utility>

#include "Fakes.h"
#include "Interposed.h"
#include "KURA_DiagResultManager.h"
#include "KURA_Storage.h"

namespace model {

namespace {

/// What goes to a descriptor of this process as long as it lives.
class Capture {
public:
    Capture(int descriptor, bool isOn) : m_descriptor(descriptor) {
        if (isOn) {
            Flush();
            m_kept = dup(descriptor);
            m_file = memfd_create("captured", MFD_CLOEXEC);
            dup2(m_file, descriptor);
        }
    }
    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;

    ~Capture() {
        if (m_file >= 0) {
            close(m_file);
            close(m_kept);
        }
    }

    std::string End() {
        if (m_file < 0) {
            return "";
        }
        Flush();
        dup2(m_kept, m_descriptor);
        std::string text(static_cast<std::size_t>(lseek(m_file, 0, SEEK_END)), '\0');
        const ssize_t length = pread(m_file, text.data(), text.size(), 0);
        text.resize(static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
        return text;
    }

private:
    static void Flush() {
        std::cout.flush();
        std::fflush(nullptr);
    }

    int m_descriptor;
    int m_kept = -1;
    int m_file = -1;
};

/// What call hands back, and what it throws.
std::string Outcome(const std::function<std::string()>& call) {
    try {
        return call();
    } catch (const std::out_of_range& error) {
        return std::string("out of range: ") + error.what();
    } catch (const std::exception& error) {
        return std::string("exception: ") + error.what();
    } catch (...) {
        return "another exception";
    }
}

auto Fields(const KURA::MapToDBTable& r) {
    return std::tie(r.index, r.is_fix, r.issue_code, r.last_time, r.sol_type, r.sol_name, r.sid_issue,
                    r.sid_sol, r.sid_button1, r.sid_button2, r.action, r.toast1, r.toast2, r.source,
                    r.view_authority);
}

auto Fields(const KURA::KURA_SolutionValue& v) {
    return std::tie(v.param_value, v.param_type);
}

auto Fields(const KURA::KURA_Solution& s) {
    return std::tie(s.issue_code, s.sol_code, s.sol_type, s.sol_name, s.sid_issue, s.sid_sol, s.sid_button1,
                    s.sid_button2, s.reboot, s.is_fg_bg, s.action, s.toast1, s.toast2, s.source,
                    s.view_authority);
}

template <typename T>
bool AreEqual(const std::vector<T>& a, const std::vector<T>& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const T& one, const T& other) {
        if constexpr (std::is_same_v<T, KURA::KURA_Solution>) {
            return Fields(one) == Fields(other) && AreEqual(one.sol_val, other.sol_val);
        } else {
            return Fields(one) == Fields(other);
        }
    });
}

/// Files are looked at after a step that may write one, and after every few others.
constexpr std::size_t kFilesEvery = 8;

constexpr std::size_t kTrail = 14;

}  // namespace

std::string Shown(const KURA::MapToDBTable& row) {
    std::string text = std::to_string(row.index) + "/" + std::to_string(row.is_fix);
    for (const std::string* field :
         {&row.issue_code, &row.last_time, &row.sol_type, &row.sol_name, &row.sid_issue, &row.sid_sol,
          &row.sid_button1, &row.sid_button2, &row.action, &row.toast1, &row.toast2, &row.source,
          &row.view_authority}) {
        text += "|" + *field;
    }
    return text;
}

std::string Shown(const Rows& rows) {
    std::string text;
    for (const KURA::MapToDBTable& row : rows) {
        text += Shown(row) + "\n";
    }
    return text;
}

std::string Shown(const KURA::KURA_SolutionMap& map) {
    std::string text = std::to_string(map.version) + " " + std::to_string(map.count) + "\n";
    for (const KURA::KURA_Solution& s : map.solutions) {
        for (const std::string* field : {&s.issue_code, &s.sol_code, &s.sol_type, &s.sol_name, &s.sid_issue,
                                         &s.sid_sol, &s.sid_button1, &s.sid_button2, &s.reboot, &s.is_fg_bg,
                                         &s.action, &s.toast1, &s.toast2, &s.source, &s.view_authority}) {
            text += *field + "|";
        }
        for (const KURA::KURA_SolutionValue& value : s.sol_val) {
            text += "[" + value.param_value + "," + value.param_type + "]";
        }
        text += "\n";
    }
    return text;
}

Driver::Driver(std::uint64_t seed) : dice(seed) {
    System().onWait = [this](int number) {
        if (number == model.agentCleansAt) {
            unlink("/tmp/vardo/req/CleanAll.txt");
        }
    };
    Install(*this);
}

void Driver::Tell(const std::string& change) {
    m_trail.push_back("    " + change);
}

std::string Driver::Run(std::size_t steps) {
    for (std::size_t step = 1; step <= steps && m_difference.empty(); ++step) {
        for (std::size_t changes = step == 1 ? 0 : dice.Below(3); changes > 0; --changes) {
            Change(*this);
        }
        m_trail.push_back("step " + std::to_string(step));
        step == 1 ? FirstStep(*this) : Step(*this);
        Compare();
        while (m_difference.empty() && m_trail.size() > 4 * kTrail) {
            m_trail.pop_front();
        }
    }
    if (m_difference.empty()) {
        return "";
    }
    std::string text = m_difference + "\nWhat led there:\n";
    for (const std::string& line : m_trail) {
        text += "  " + line + "\n";
    }
    return text + "The document:\n" + model.document.text + "\n";
}

void Driver::Call(const std::string& name, const std::function<std::string()>& library,
                  const std::function<std::string()>& modelCall) {
    m_trail.push_back("  " + name);
    m_throwAt = 0;
    m_thrown = Thrown::Nothing;
    if (mayThrow && dice.Percent(4)) {
        m_throwAt = static_cast<int>(1 + dice.Below(12));
        m_thrown = dice.Pick<Thrown>({Thrown::SystemError, Thrown::RuntimeError, Thrown::Number});
        Tell("call " + std::to_string(m_throwAt) + " throws");
    }
    RunLibrary(library);
    RunModel(modelCall);
}

void Driver::RunLibrary(const std::function<std::string()>& library) {
    fakes::FakeSet& set = fakes::Set();
    set.events.clear();
    set.calls.clear();
    set.log.clear();
    int untilThrow = m_throwAt;
    set.onCall = nullptr;
    if (m_throwAt > 0) {
        set.onCall = [&untilThrow, this](const std::string& call) {
            if (untilThrow > 0 && MayThrow(call) && --untilThrow == 0) {
                Throw(m_thrown);
            }
        };
    }
    System().waits = 0;
    System().isClockSet = true;
    System().seconds = model.clockSeconds;
    System().clockFails = model.clockFails;
    Capture output(STDOUT_FILENO, m_thrown == Thrown::SystemError);
    Capture errors(STDERR_FILENO, capturesErrors);
    m_librarySaw = Outcome(library);
    m_libraryOutput = output.End();
    m_libraryErrors = errors.End();
    System().isClockSet = false;
    set.onCall = nullptr;
    m_libraryEvents = std::move(set.events);
    set.events.clear();
}

void Driver::RunModel(const std::function<std::string()>& modelCall) {
    model.record.Begin(m_throwAt, m_thrown);
    model.standardOutput.clear();
    model.standardError.clear();
    model.waits = 0;
    m_modelSaw = Outcome(modelCall);
    if (m_thrown != Thrown::SystemError) {
        model.standardOutput.clear();
    }
    if (!capturesErrors) {
        model.standardError.clear();
    }
}

void Driver::Differ(const std::string& what, const std::string& library, const std::string& modelText) {
    if (!m_difference.empty()) {
        return;
    }
    std::size_t at = 0;
    while (at < library.size() && at < modelText.size() && library[at] == modelText[at]) {
        ++at;
    }
    m_difference =
        what + ", from byte " + std::to_string(at) + ":\n  library: " + library + "\n  model:   " + modelText;
}

void Driver::Compare() {
    CompareEvents();
    if (m_librarySaw != m_modelSaw) {
        Differ("What was handed back", m_librarySaw, m_modelSaw);
    }
    if (m_libraryOutput != model.standardOutput) {
        Differ("Standard output", m_libraryOutput, model.standardOutput);
    }
    if (m_libraryErrors != model.standardError) {
        Differ("Standard error", m_libraryErrors, model.standardError);
    }
    CompareScreens();
    CompareSettings();
    CompareFiles();
    CompareStores();
    CompareMap();
    CompareTable();
}

void Driver::CompareEvents() {
    const std::vector<std::string>& seen = m_libraryEvents;
    const std::vector<std::string>& expected = model.record.Events();
    for (std::size_t i = 0; i < std::max(seen.size(), expected.size()); ++i) {
        const std::string library = i < seen.size() ? seen[i] : "(nothing more)";
        const std::string modelLine = i < expected.size() ? expected[i] : "(nothing more)";
        if (Matches(modelLine, library)) {
            continue;
        }
        std::string before;
        for (std::size_t k = i < 4 ? 0 : i - 4; k < i; ++k) {
            before += "  both:    " + seen[k].substr(0, 300) + "\n";
        }
        Differ(before + "Line " + std::to_string(i + 1), library, modelLine);
        return;
    }
}

void Driver::CompareScreens() {
    fakes::FakeSet& set = fakes::Set();
    const auto compare = [this](const char* name, std::vector<Rows>& library, std::vector<Rows>& lists) {
        if (library.size() != lists.size()) {
            Differ(name, std::to_string(library.size()) + " lists", std::to_string(lists.size()) + " lists");
        }
        for (std::size_t i = 0; i < std::min(library.size(), lists.size()); ++i) {
            if (!AreEqual(library[i], lists[i])) {
                Differ(name, Shown(library[i]), Shown(lists[i]));
            }
        }
        library.clear();
        lists.clear();
    };
    compare("The home screen's list", set.homeScreenLists, model.set.homeLists);
    compare("The start screen's list", set.startScreenLists, model.set.startLists);
}

void Driver::CompareSettings() {
    fakes::FakeSet& set = fakes::Set();
    if (set.intKeys != model.set.intKeys || set.stringKeys != model.set.stringKeys) {
        const auto shown = [](const auto& ints, const auto& strings) {
            std::ostringstream text;
            for (const auto& [key, value] : ints) {
                text << key << "=" << value << " ";
            }
            for (const auto& [key, value] : strings) {
                text << key << "=\"" << value << "\" ";
            }
            return text.str();
        };
        Differ("Settings", shown(set.intKeys, set.stringKeys),
               shown(model.set.intKeys, model.set.stringKeys));
    }
    for (const fakes::Launch& launch : set.launches) {
        if (launch.hadCallback) {
            Differ("A launch", "asks for a reply", "asks for none");
        }
    }
    set.launches.clear();
    set.usageEvents.clear();
    set.recordedSolutions.clear();
    const int live = set.liveAppControls + set.livePkgmgrClients + set.liveTvControls + set.liveConnections;
    if (live != 0) {
        Differ("Handles", std::to_string(live) + " not released", "none");
    }
}

void Driver::CompareFiles() {
    if (!model.wroteFiles && ++m_stepsWithoutFiles < kFilesEvery) {
        return;
    }
    model.wroteFiles = false;
    m_stepsWithoutFiles = 0;
    const Tree seen = ReadTree();
    if (seen == model.files) {
        return;
    }
    const auto shown = [](const Tree& tree) {
        std::string text;
        for (const auto& [path, node] : tree) {
            text += "\n    " + path + " " + std::to_string(static_cast<int>(node.kind)) + " \"" + node.text +
                    "\"";
        }
        return text;
    };
    Differ("Files", shown(seen), shown(model.files));
}

void Driver::CompareStores() {
    if (!model.store.wasUsed || model.store.isSpoilt) {
        return;
    }
    model.store.wasUsed = false;
    sqlite3* handle = nullptr;
    sqlite3_open_v2(kStorePath, &handle, SQLITE_OPEN_READONLY, nullptr);
    Store::RunNothingStored(handle);
    const std::vector<std::string> library = RowsOf(handle);
    sqlite3_close(handle);
    const std::vector<std::string> expected = model.store.Rows();
    if (library == expected) {
        return;
    }
    const auto shown = [](const std::vector<std::string>& rows) {
        std::string text;
        for (const std::string& row : rows) {
            text += "\n    " + row;
        }
        return text;
    };
    Differ("The store", shown(library), shown(expected));
}

void Driver::CompareMap() {
    KURA::TSCurrentKURAMap seen;
    KURA::TCInformationStorage::Instance()->GetKURAMapInformation(seen);
    if (seen.version == model.version && seen.count == model.count &&
        AreEqual(seen.solutions, model.solutions)) {
        return;
    }
    KURA::KURA_SolutionMap library{static_cast<int>(seen.version), seen.count, seen.solutions};
    KURA::KURA_SolutionMap expected{static_cast<int>(model.version), model.count, model.solutions};
    Differ("The stored map", Shown(library), Shown(expected));
}

void Driver::CompareTable() {
    Rows seen;
    KURA::KURA_DiagResultManager::GetInstance()->GetRemainingTable(seen);
    if (!AreEqual(seen, model.table)) {
        Differ("The table", Shown(seen), Shown(model.table));
    }
}

}  // namespace model
