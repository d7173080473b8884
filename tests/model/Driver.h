// Drives the library and the model side by side: the set changes at random, the host calls one operation,
// and everything that both did is compared.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "Dice.h"
#include "KURA_MapToDBTable.h"
#include "Model.h"

namespace model {

class Driver {
public:
    explicit Driver(std::uint64_t seed);

    /// Stops at the first difference, which it returns with what led there; empty without one.
    std::string Run(std::size_t steps);

    // --- For the steps (Steps.cpp) ---

    /// One host call, named for whoever reads of a difference. Each side tells in a text what it handed back;
    /// what it throws is added.
    void Call(const std::string& name, const std::function<std::string()>& library,
              const std::function<std::string()>& model);

    Dice dice;
    Model model;
    /// What follows could not be told by an exception in its middle.
    bool mayThrow = true;
    bool capturesErrors = false;

    // --- For the changes of the set (World.cpp) ---

    /// Notes a change of the set.
    void Tell(const std::string& change);
    void WriteDocument(Document document);
    /// Each on the library's store and on the model's; one that fails changes nothing.
    void RunOnStores(const std::vector<std::string>& statements);

private:
    void Compare();
    void CompareEvents();
    void CompareScreens();
    void CompareSettings();
    void CompareFiles();
    void CompareStores();
    void CompareMap();
    void CompareTable();
    void Differ(const std::string& what, const std::string& library, const std::string& model);
    void RunLibrary(const std::function<std::string()>& library);
    void RunModel(const std::function<std::string()>& model);

    std::string m_difference;
    std::deque<std::string> m_trail;
    std::string m_librarySaw;
    std::string m_modelSaw;
    std::string m_libraryOutput;
    std::string m_libraryErrors;
    std::vector<std::string> m_libraryEvents;
    std::size_t m_stepsWithoutFiles = 0;
    int m_throwAt = 0;
    Thrown m_thrown = Thrown::Nothing;
};

/// Every field of a row.
std::string Shown(const KURA::MapToDBTable& row);
std::string Shown(const Rows& rows);
std::string Shown(const KURA::KURA_SolutionMap& map);

/// A set to start from: folders, answers, a document.
void Install(Driver& driver);
/// Changes the set in one way.
void Change(Driver& driver);
/// Makes one host call.
void Step(Driver& driver);
/// A usage report: it gathers the facts of the device before anything else changes them.
void FirstStep(Driver& driver);

}  // namespace model
