// The Watchman diagnosis engine: a one-shot subscription and the engine's records.
#pragma once

#include <string>
#include <vector>

enum { WM_TRANSITION_TYPE_FALSE = 0, WM_TRANSITION_TYPE_TRUE = 1 };

struct _WMInfDBRecord {
    int issue_code;
    int tr_type;
    int solutionCode;
    std::string registerTime;
    std::string lastUpdateTime;
};

struct _WMSolDBRecord {
    int issue_code;
    int solutionCode;
    int type;
    int isApply;
    std::string registerTime;
};

struct WMSolutionParams {
    int issueCode;
    int solutionCode;
    int solutionType;
    int started;
};

struct WMSignalData {
    int reserved[4];
};

typedef void (*WMInferenceCallback)(unsigned int, WMSignalData);

int InferenceSubscribeOnce(int period, WMInferenceCallback callback);

/// Appends to records. 0 = success, 4 = no matching record, anything else = an error.
int GetInferenceDB(int issue_code, int transition_type, std::vector<_WMInfDBRecord>& records);

/// 0 = success, 4 = no matching record, anything else = an error.
int GetSolutionDB(int issue_code, _WMSolDBRecord& record);

int SetSolutionDB(WMSolutionParams params);
