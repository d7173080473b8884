// The library beside the model: random maps, engine records, answers, faults and host calls, and after each
// call everything that both did. KURA_MODEL_SEED and KURA_MODEL_STEPS repeat a run.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <string>

#include "Driver.h"
#include "trust/Trust.h"

namespace {

std::size_t FromEnvironment(const char* name, std::size_t otherwise) {
    const char* const text = std::getenv(name);
    return text == nullptr ? otherwise : std::strtoul(text, nullptr, 10);
}

/// Each seed is a process of its own, with facts of the device of its own.
class Beside : public testing::TestWithParam<std::size_t> {};

TEST_P(Beside, LibraryAndModelDoTheSame) {
    const std::size_t seed = FromEnvironment("KURA_MODEL_SEED", GetParam());
    const std::size_t steps = FromEnvironment("KURA_MODEL_STEPS", trust::Count(500, 100000));
    model::Driver driver(seed);
    const std::string difference = driver.Run(steps);
    if (!difference.empty()) {
        ADD_FAILURE() << difference << "Repeat: KURA_MODEL_SEED=" << seed << " KURA_MODEL_STEPS=" << steps
                      << " ctest --test-dir build/dev -R LibraryAndModelDoTheSame/0 --output-on-failure";
    }
    trust::Report("Model", "steps beside the model, seed " + std::to_string(seed), steps);
}

INSTANTIATE_TEST_SUITE_P(Seeds, Beside, testing::Range<std::size_t>(1, 11));

}  // namespace
