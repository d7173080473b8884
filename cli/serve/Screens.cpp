#include "Screens.h"

#include <array>
#include <ctime>
#include <filesystem>
#include <system_error>
#include <utility>

namespace cli::serve {

namespace {

std::string TimeOfDay() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    std::array<char, 16> text{};
    std::strftime(text.data(), text.size(), "%H:%M:%S", &local);
    return text.data();
}

/// The members of the state that describe the set itself.
Json About(const kuraset::SetDirectory& set, const std::string& language) {
    const auto description = set.Description();
    std::error_code error;
    const bool texts = std::filesystem::is_regular_file(set.Path() / "texts" / (language + ".json"), error);
    return {{"set",
             {{"path", set.Path().string()},
              {"model", description.value("model", std::string())},
              {"texts", texts}}},
            {"language", language}};
}

}  // namespace

Screens::Screens(const kuraset::SetDirectory& set, const std::string& language)
    : m_about(About(set, language)) {
    for (const Call& call : kCalls) {
        if (!call.screen.empty()) {
            m_screens[std::string(call.screen)] = {
                {"at", nullptr}, {"document", nullptr}, {"error", nullptr}, {"stale", false}};
        }
    }
}

unsigned long Screens::Begin(const Call& call, const std::string& argument) {
    const std::lock_guard lock(m_mutex);
    if (m_running.call != nullptr) {
        return 0;
    }
    m_running = {&call, argument, ++m_calls, std::chrono::steady_clock::now()};
    Changed();
    return m_calls;
}

void Screens::End(const Call& call, const std::string& argument, const Json& answer, const Stale& stale) {
    const std::lock_guard lock(m_mutex);
    const bool failed = answer.contains("error");
    const Json error = failed ? answer.at("error") : Json(nullptr);
    m_last = {{"number", m_running.number}, {"verb", call.verb}, {"argument", argument}, {"error", error}};
    if (!failed) {
        Compare(call, argument, answer);
    }
    for (const auto& [name, ignored] : m_screens) {
        // Each run of the library leaves something in the journal.
        if ((stale.others || name == "history") && name != call.screen) {
            MarkStale(false, name);
        }
    }
    if (!call.screen.empty()) {
        Json& screen = m_screens[std::string(call.screen)];
        screen["error"] = error;
        screen["stale"] = stale.own;
        if (!failed) {
            screen["document"] = answer;
            screen["at"] = TimeOfDay();
        }
    }
    m_running = {};
    Changed();
}

void Screens::Compare(const Call& call, const std::string& argument, const Json& answer) {
    const Json& storage = m_screens.at("storage");
    if (call.frees && !storage.at("stale") && storage.at("document").is_object()) {
        m_freed = {{"verb", call.verb},
                   {"argument", argument},
                   {"at", TimeOfDay()},
                   {"before", storage.at("document")},
                   {"after", nullptr}};
    } else if (call.screen == "storage" && m_freed.is_object() && m_freed.at("after").is_null()) {
        m_freed["after"] = answer;
    }
}

void Screens::SetChanged(const kuraset::SetDirectory& set, bool hasDiagnosed) {
    const std::lock_guard lock(m_mutex);
    try {
        m_about = About(set, m_about.at("language"));
    } catch (const kuraset::SetError&) {
        // The calls tell what is wrong with the description; until it is mended the page names the set as
        // before.
    }
    for (const auto& [name, ignored] : m_screens) {
        MarkStale(hasDiagnosed && name == "start", name);
    }
    // What is measured now is no longer the work of the call alone.
    if (m_freed.is_object() && m_freed.at("after").is_null()) {
        m_freed = nullptr;
    }
    Changed();
}

void Screens::MarkStale(bool evenUnasked, const std::string& name) {
    Json& screen = m_screens.at(name);
    if (evenUnasked || !screen.at("document").is_null() || !screen.at("error").is_null()) {
        screen["stale"] = true;
    }
}

Json Screens::State() const {
    const std::lock_guard lock(m_mutex);
    Json state = {{"version", m_version}};
    state.update(m_about);
    state["running"] = nullptr;
    if (m_running.call != nullptr) {
        const auto elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(
            std::chrono::steady_clock::now() - m_running.since);
        state["running"] = {{"number", m_running.number},
                            {"verb", m_running.call->verb},
                            {"argument", m_running.argument},
                            {"elapsed_ms", elapsed.count()},
                            {"usual_s", m_running.call->usual.count()},
                            {"may_be_left", m_running.call->mayBeLeft}};
    }
    state["last"] = m_last;
    state["freed"] = m_freed;
    state["screens"] = m_screens;
    return state;
}

unsigned long Screens::Await(unsigned long version, std::chrono::milliseconds time) const {
    std::unique_lock lock(m_mutex);
    m_changed.wait_for(lock, time, [&] { return m_closed || m_version != version; });
    return m_version;
}

void Screens::Close() {
    const std::lock_guard lock(m_mutex);
    m_closed = true;
    m_changed.notify_all();
}

bool Screens::IsClosed() const {
    const std::lock_guard lock(m_mutex);
    return m_closed;
}

void Screens::Changed() {
    ++m_version;
    m_changed.notify_all();
}

}  // namespace cli::serve
