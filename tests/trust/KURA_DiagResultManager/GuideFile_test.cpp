// Both places of the guide's result file against every shape that somebody may have given them.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>
#include <string>
#include <tuple>

#include "Fakes.h"
#include "Problems.h"
#include "Shapes.h"
#include "trust/Trust.h"

using fakes::Set;
using shapes::Shape;

namespace fs = std::filesystem;

namespace {

struct Place {
    const char* name;
    std::string path;
    const char* launchedFrom;  ///< null: in the foreground
};

void PrintTo(const Place& place, std::ostream* stream) {
    *stream << place.name;
}

std::string Read(const std::string& path) {
    std::ifstream stream(path);
    return {std::istreambuf_iterator<char>(stream), {}};
}

class GuideFile : public testing::TestWithParam<std::tuple<Place, Shape>> {};

}  // namespace

INSTANTIATE_TEST_SUITE_P(
    Places, GuideFile,
    testing::Combine(testing::Values(Place{"Foreground", "/tmp/tutorlink/inference_result", nullptr},
                                     Place{"Background",
                                           "/opt/usr/home/owner/content/Documents/inference_result",
                                           "bg_inference"}),
                     testing::ValuesIn(shapes::Shapes())),
    [](const auto& test) {
        return std::string(std::get<0>(test.param).name) + std::get<1>(test.param).name;
    });

TEST_P(GuideFile, IsWrittenThroughNothing) {
    alarm(60);  // a FIFO must not hold it up
    const auto& [place, shape] = GetParam();
    fs::create_directories(fs::path(place.path).parent_path());
    std::ofstream(shapes::kVictim) << "kept";
    Set().launchFrom = place.launchedFrom;
    problems::Present({problems::Solution("1")});

    // It is this place that is written, when nothing is in the way.
    problems::Manager().CreateTutorErrList();
    ASSERT_EQ(Read(place.path), "1\n");
    fs::remove(place.path);

    shape.make(place.path);
    const bool isLinkedParent = std::string(shape.name) == "LinkedParent";
    problems::Manager().CreateTutorErrList();
    EXPECT_EQ(Read(shapes::kVictim), "kept");
    EXPECT_FALSE(fs::exists("/home/nothing"));
    if (fs::exists(shapes::SecondName(place.path))) {
        EXPECT_EQ(Read(shapes::SecondName(place.path)), "kept");
    }
    if (isLinkedParent) {
        EXPECT_FALSE(fs::exists(place.path));
    }
    EXPECT_TRUE(problems::IsUnlocked());
    trust::Report("Links and special files", "guide's result file, two places", 1);
}
