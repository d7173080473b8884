// Starts the diagnosis modes and receives the engine's completion callbacks.
#pragma once

#include <glib.h>

#include <atomic>
#include <boost/thread/recursive_mutex.hpp>
#include <string>

#include "KURA_Export.h"
#include "watchman.h"

/// The host's main loop, which the guided diagnosis ends; null when the host runs none. The host writes it
/// and keeps a reference of its own, because the library calls unref before quit.
extern "C" KURA_API GMainLoop* loop;

namespace KURA {

/// The number of the current input source, -1 when the TV service names none.
KURA_API int GetCurrentSourceInfo();

/// The entry for hosts. The starting calls return at once; the result reaches the host's screens on the
/// engine's thread.
class KURA_API KURA_DiagManager {
public:
    /// Creates the manager on the first call and never destroys it. Creating it loads the solution map: a
    /// misplaced value element in the map throws std::out_of_range, and the next call tries again.
    /// Thread-safe.
    static KURA_DiagManager* GetInstance();
    KURA_DiagManager(const KURA_DiagManager&) = delete;
    KURA_DiagManager& operator=(const KURA_DiagManager&) = delete;

    /// Opens the installed library, looks up its entry points and loads the solution map through them. When
    /// the library cannot be opened, this is logged and the map is not loaded.
    KURA_DiagManager();
    /// Does nothing: the library stays open.
    ~KURA_DiagManager();

    /// Does what the constructor does, but does not load the map.
    void createLibHandler();

    /// For "NetworkSetting", launches the network settings and returns an empty text. For "SignalInfo",
    /// returns the host page to open: "hdmi-information" or "signal-information". Any other target is logged
    /// and returns an empty text.
    std::string StartSelfDiagnosis(char* target);

    /// Guided diagnosis: arms one engine completion and returns; TutorCallbackFunc follows.
    void StartTutorDiagnosis();
    /// Automatic diagnosis: arms one engine completion and returns; SolutionCallbackFunc follows.
    void StartAutoDiagnosis();
    /// Check of the remaining problems: arms one engine completion and returns; RemainingCallbackFunc
    /// follows.
    void RemainingProblem();

    /// Kept for hosts that call it; only logs.
    void EnterRemaining();

    /// Runs a deep clean, which blocks up to about 10 s, then a memory boost. Returns the result of the
    /// memory boost.
    int OptimizeDevice();

    /// Stores whether the guided diagnosis has ended; nothing in the library reads it.
    void SetIsCallBackFinish(bool finished);

    /// Ends the process at once, without exit handlers.
    [[noreturn]] void SetExitFlag(int status);
    /// Always 0.
    int GetExitFlag();

    // Engine callbacks: they run on the engine's thread, one at a time under the class's mutex.

    /// Writes the guide application's file and ends the host's main loop.
    static void TutorCallbackFunc(unsigned int id, WMSignalData data);
    /// Hands the remaining problems to the home screen.
    static void RemainingCallbackFunc(unsigned int id, WMSignalData data);
    /// Hands the problems found to the start screen.
    static void SolutionCallbackFunc(unsigned int id, WMSignalData data);

private:
    void* m_libraryHandle = nullptr;
    void (*m_RequestApplySolution)(const char*) = nullptr;
    void (*m_SaveResultToSolutionDB)(const std::string&, const std::string&) = nullptr;
    void (*m_ProcessLaunchApp)(const char*) = nullptr;
    void (*m_ParseSolutionMap)() = nullptr;
    std::atomic<bool> isCallBackFinish{false};
    std::atomic<bool> m_isDiagnosisStarted{false};
    int m_exitFlag = 0;

    static KURA_DiagManager* m_pInstance;
    static boost::recursive_mutex& m_KDMmutex;  ///< never destroyed
};

}  // namespace KURA
