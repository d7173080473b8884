#include "Steps.h"

#include "RandomMap.h"

namespace model {

namespace steps {

HostText Given(Dice& dice, const std::string& text) {
    if (dice.Percent(3)) {
        return {"", true};
    }
    return {text, false};
}

std::string SomeCode(Driver& driver) {
    const auto& solutions = driver.model.solutions;
    return solutions.empty() || driver.dice.Percent(50)
               ? RandomCode(driver.dice)
               : solutions[driver.dice.Below(solutions.size())].issue_code;
}

void Plain(Driver& driver, const std::string& name, const std::function<void()>& library,
           const std::function<void()>& model) {
    const auto nothing = [](const std::function<void()>& call) {
        call();
        return std::string();
    };
    driver.Call(
        name, [&] { return nothing(library); }, [&] { return nothing(model); });
}

}  // namespace steps

namespace {

struct Choice {
    std::size_t weight;
    void (*run)(Driver& driver);
};

const Choice kChoices[] = {{14, steps::Start},
                           {20, steps::Complete},
                           {2, steps::SelfDiagnosis},
                           {2, steps::Optimize},
                           {3, steps::Evaluate},
                           {3, steps::CreateList},
                           {3, steps::Compare},
                           {2, steps::Load},
                           {2, steps::Recheck},
                           {2, steps::Table},
                           {3, steps::Save},
                           {3, steps::Delete},
                           {4, steps::Tutor},
                           {4, steps::Find},
                           {4, steps::Check},
                           {10, steps::Apply},
                           {4, steps::ApplyInBackground},
                           {4, steps::RecordResult},
                           {4, steps::Setting},
                           {4, steps::Command},
                           {5, steps::Launch},
                           {5, steps::Api},
                           {2, steps::Maintain},
                           {4, steps::ReadMap},
                           {3, steps::Keep},
                           {4, steps::Report}};

}  // namespace

void FirstStep(Driver& driver) {
    driver.mayThrow = false;
    steps::Report(driver);
    driver.mayThrow = true;
}

void Step(Driver& driver) {
    std::size_t all = 0;
    for (const Choice& choice : kChoices) {
        all += choice.weight;
    }
    std::size_t chosen = driver.dice.Below(all);
    driver.capturesErrors = false;
    for (const Choice& choice : kChoices) {
        if (chosen < choice.weight) {
            return choice.run(driver);
        }
        chosen -= choice.weight;
    }
}

}  // namespace model
