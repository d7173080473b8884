// Starts the diagnosis modes and receives the engine's completion callbacks.
#pragma once

#include <glib.h>

#include <atomic>
#include <boost/thread/recursive_mutex.hpp>
#include <string>

#include "KURA_Export.h"
#include "watchman.h"

/// The host's main loop, ended by the guided diagnosis; null when the host runs none. Written by the host,
/// which keeps a reference of its own: the loop is unreferenced before it is told to quit.
extern "C" KURA_API GMainLoop* loop;

namespace KURA {

/// The number of the current input source, -1 when the TV service names none.
KURA_API int GetCurrentSourceInfo();

/// The entry for hosts. The starting calls return at once; what they found arrives on the engine's thread.
class KURA_API KURA_DiagManager {
public:
    /// Created on the first call, never destroyed. The creation loads the solution map; what a misplaced
    /// value element throws passes, and the next call tries again. Thread-safe.
    static KURA_DiagManager* GetInstance();
    KURA_DiagManager(const KURA_DiagManager&) = delete;
    KURA_DiagManager& operator=(const KURA_DiagManager&) = delete;

    /// Opens the installed library, looks its entry points up and loads the solution map through them. A
    /// library that cannot be opened is logged; the map is then not loaded.
    KURA_DiagManager();
    /// Does nothing: the library stays open.
    ~KURA_DiagManager();

    /// What the constructor does, except for the loading of the map.
    void createLibHandler();

    /// "NetworkSetting" launches the network settings and returns an empty text; "SignalInfo" returns the
    /// host page to open, "hdmi-information" or "signal-information". Any other target is logged: empty text.
    std::string StartSelfDiagnosis(char* target);

    /// Guided diagnosis: arms one engine completion and returns; TutorCallbackFunc follows.
    void StartTutorDiagnosis();
    /// Automatic diagnosis: arms one engine completion and returns; SolutionCallbackFunc follows.
    void StartAutoDiagnosis();
    /// Check of what remains: arms one engine completion and returns; RemainingCallbackFunc follows.
    void RemainingProblem();

    /// Kept for hosts that call it; only logs.
    void EnterRemaining();

    /// Deep clean (blocks up to about 10 s), then memory boost; returns the result of the latter.
    int OptimizeDevice();

    /// Notes whether the guided diagnosis has come to its end.
    void SetIsCallBackFinish(bool finished);

    /// Ends the process at once, without exit handlers.
    [[noreturn]] void SetExitFlag(int status);
    /// Always 0.
    int GetExitFlag();

    // Engine callbacks, on the engine's thread, serialised by m_KDMmutex.

    /// Writes the guide application's file and ends the host's main loop.
    static void TutorCallbackFunc(unsigned int id, WMSignalData data);
    /// Hands what remains to the home screen.
    static void RemainingCallbackFunc(unsigned int id, WMSignalData data);
    /// Hands what was found to the start screen.
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
