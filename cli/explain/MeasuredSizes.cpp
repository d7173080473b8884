#include "MeasuredSizes.h"

#include <algorithm>
#include <utility>

#include "LibraryLog.h"

namespace cli {

namespace {

using nlohmann::json;

constexpr const char* kMeasureRequest = "calcAppDataCacheSize_";
constexpr int kTotalType = 0;
constexpr int kDataType = 1;

/// The library's number for denied access.
constexpr const char* kDenied = "-5";

std::optional<Unmeasured> PackageFailure(const json& entry) {
    if (const auto failure = ValuesOf(entry, Line::kSizeNotAnswered)) {
        const bool isDenied = failure->front() == kDenied;
        return isDenied ? Unmeasured{ExitCode::kFailed, "the package manager denied the question"}
                        : Unmeasured{ExitCode::kNoAnswer, "the package manager did not answer"};
    }
    if (const auto failure = ValuesOf(entry, Line::kSizeRefused)) {
        return Unmeasured{ExitCode::kFailed, "the package manager failed with " + failure->front()};
    }
    if (Says(entry, Line::kSizeInvalid)) {
        return Unmeasured{ExitCode::kFailed, "the package manager answered with a size below zero"};
    }
    if (Says(entry, Line::kSizeParameter)) {
        return Unmeasured{ExitCode::kFailed, "the package manager cannot be asked about such an id"};
    }
    return std::nullopt;
}

Unmeasured AgentFailure(const std::string& appId) {
    return {ExitCode::kNoAnswer, "the agent did not tell data and cache of " + appId};
}

}  // namespace

MeasuredSizes::MeasuredSizes(std::vector<json> journal) : m_journal(std::move(journal)) {
    for (const json& entry : m_journal) {
        if (!m_packageFailure) {
            m_packageFailure = PackageFailure(entry);
        }
    }
}

Figures MeasuredSizes::OfOne(const std::string& appId, Figures held) {
    // After a late, cut or garbled answer the library holds another number than the agent gave.
    const json* agent = AgentAnswer(appId);
    const auto clear = [agent](const char* key, Json& figure) {
        if (agent == nullptr || agent->value(key, json()) != figure.get<std::int64_t>()) {
            figure = nullptr;
        }
    };
    clear("data", held.data);
    clear("cache", held.cache);
    const bool isToldByAgent = !held.data.is_null() && !held.cache.is_null();
    if (!isToldByAgent) {
        Note(AgentFailure(appId));
    }
    if (m_packageFailure) {
        Note(*m_packageFailure);
    }
    if (!isToldByAgent || m_packageFailure) {
        held.total = nullptr;
    }
    return held;
}

Json MeasuredSizes::TotalInList(const std::string& appId, const std::string& packageId, std::int32_t held) {
    const json* agent = AgentAnswer(appId);
    const json* total = PackageAnswer(packageId, kTotalType);
    const json* data = PackageAnswer(packageId, kDataType);
    if (total == nullptr || data == nullptr) {
        Note(
            m_packageFailure.value_or(Unmeasured{ExitCode::kNoAnswer, "the package manager did not answer"}));
        return nullptr;
    }
    if (agent == nullptr) {
        Note(AgentFailure(appId));
        return nullptr;
    }
    const auto number = [](const json& entry, const char* key) { return entry.value(key, std::int64_t{0}); };
    const std::int64_t told =
        number(*agent, "data") + number(*agent, "cache") + number(*total, "size") - number(*data, "size");
    // The library adds the web cache to these sizes. A smaller total shows that it lacked one of the answers.
    if (held < told) {
        Note(AgentFailure(appId));
        return nullptr;
    }
    return held;
}

/// Null when the agent did not answer.
const json* MeasuredSizes::AgentAnswer(const std::string& appId) const {
    const auto found = std::find_if(m_journal.begin(), m_journal.end(), [&appId](const json& entry) {
        return entry.value("kind", json()) == "agent" && entry.value("outcome", json()) == "done" &&
               entry.value("op", json()) == kMeasureRequest + appId;
    });
    return found == m_journal.end() ? nullptr : &*found;
}

/// Null when the package manager gave no size. The library's lines do not say whose size is missing. When one
/// is, no answer counts that the set's faults spoiled.
const json* MeasuredSizes::PackageAnswer(const std::string& packageId, int type) const {
    const bool isSpoiltPossible = m_packageFailure.has_value();
    const auto found = std::find_if(m_journal.begin(), m_journal.end(), [&](const json& entry) {
        return entry.value("op", json()) == "getsize_sync" && entry.value("package", json()) == packageId &&
               entry.value("type", json()) == type && entry.value("result", json()) == 0 &&
               !(isSpoiltPossible && entry.contains("fault"));
    });
    return found == m_journal.end() ? nullptr : &*found;
}

void MeasuredSizes::Note(const Unmeasured& reason) {
    const bool isKnown = std::any_of(m_reasons.begin(), m_reasons.end(), [&reason](const Unmeasured& known) {
        return known.reason == reason.reason;
    });
    if (!isKnown) {
        m_reasons.push_back(reason);
    }
}

}  // namespace cli
