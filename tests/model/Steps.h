// The host calls from which the driver chooses, and their shared helpers.
#pragma once

#include <functional>
#include <string>

#include "Driver.h"

namespace model::steps {

/// A text as the host hands it over: sometimes null, which reads as empty.
struct HostText {
    std::string text;
    bool isNull = false;

    const char* Constant() const { return isNull ? nullptr : text.c_str(); }
    char* Writable() { return isNull ? nullptr : text.data(); }
    std::string Named() const { return isNull ? "null" : "\"" + text + "\""; }
};

/// Mostly text, sometimes null.
HostText Given(Dice& dice, const std::string& text);

/// A code, by preference one of the stored map.
std::string SomeCode(Driver& driver);

/// A call that hands nothing back.
void Plain(Driver& driver, const std::string& name, const std::function<void()>& library,
           const std::function<void()>& model);

// --- DiagnosisSteps.cpp ---
void Start(Driver& driver);
void Complete(Driver& driver);
void SelfDiagnosis(Driver& driver);
void Optimize(Driver& driver);
void Evaluate(Driver& driver);
void CreateList(Driver& driver);
void Compare(Driver& driver);
void Load(Driver& driver);
void Recheck(Driver& driver);
void Table(Driver& driver);
void Save(Driver& driver);
void Delete(Driver& driver);
void Tutor(Driver& driver);
void Find(Driver& driver);
void Check(Driver& driver);

// --- ApplySteps.cpp ---
void Apply(Driver& driver);
void ApplyInBackground(Driver& driver);
void RecordResult(Driver& driver);
void Setting(Driver& driver);
void Command(Driver& driver);
void Launch(Driver& driver);
void Api(Driver& driver);
void Maintain(Driver& driver);

// --- MapSteps.cpp ---
void ReadMap(Driver& driver);
void Keep(Driver& driver);
void Report(Driver& driver);

}  // namespace model::steps
