// What becomes of a request that runs out of memory, wherever it does: in the reload, in removing the
// problem, in filling the record. This program stands in front of operator new and refuses one piece of a
// request. The fakes keep no records until then, so that every piece is the library's or one of the set's
// answers, and from then on all, so that a test sees what was still done.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

#include "Fakes.h"
#include "Files.h"
#include "KURA_SO_Interface.h"
#include "KURA_SolutionMap.h"
#include "RefusedMemory.h"

using fakes::Set;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const std::string kException = ": Got exception 2";
const std::string kFromRequest = "log 6 RequestApplySolutionWrapper" + kException;
const std::string kFromFill = "log 6 RequestApplySolution_BG" + kException;

/// The first piece holds the document: without it the map is empty, and no request fails for that.
constexpr std::size_t kBehindTheDocument = 1;

constexpr const char* kLongName = "db/a key that is too long for its record to hold inside";

/// Runs a request that is refused the piece after so many others. False when it needed no more than those.
template <typename Request>
bool RunShortOfMemory(std::size_t left, Request request) {
    Set().intKeys.clear();
    Set().recordedSolutions.clear();
    Set().events.clear();
    Set().keepRecords = false;
    fakes::refusal.atStrike = [] { Set().keepRecords = true; };
    fakes::refusal.Begin(left);
    EXPECT_NO_THROW(request());
    const bool struck = fakes::refusal.End();
    Set().keepRecords = true;
    return struck;
}

std::vector<int> Fields(const WMSolutionParams& params) {
    return {params.issueCode, params.solutionCode, params.solutionType, params.started};
}

constexpr WMSolutionParams kUnset{-9, -9, -9, -9};

}  // namespace

TEST(RequestMemory, EndsARequestLoggedWhicheverPieceIsRefused) {
    files::Install(files::Solution("100", "VCONFSET_INT", kLongName, {"1"}, "11") +
                   files::Solution("100", "VCONFSET_INT", kLongName, {"2"}, "22"));
    RequestApplySolution("100");
    int beforeTheAction = 0;
    int behindTheAction = 0;
    std::size_t n = kBehindTheDocument;
    testing::internal::CaptureStdout();
    for (; RunShortOfMemory(n, [] { RequestApplySolution("100"); }); ++n) {
        SCOPED_TRACE(n);
        EXPECT_THAT(Set().events, ElementsAre(kFromRequest)) << "and nothing more is done";
        EXPECT_LT(Set().recordedSolutions.size(), 2U);
        ++(Set().intKeys.empty() ? beforeTheAction : behindTheAction);
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_GT(beforeTheAction, 0);
    EXPECT_GT(behindTheAction, 0);
    EXPECT_EQ(Set().recordedSolutions.size(), 2U) << "with every piece the request is served whole";
}

TEST(RequestMemory, IsAskedForUpToTheLargestDocumentThatTheSetHolds) {
    constexpr std::size_t kLargest = 2147483647;
    files::Write("/home/large", "");
    files::fs::resize_file("/home/large", kLargest);
    KURA::KURA_SolutionMap map;
    const auto read = [&map] { EXPECT_FALSE(XMLParse("/home/large", map)); };
    EXPECT_TRUE(RunShortOfMemory(0, read));
    files::fs::resize_file("/home/large", kLargest + 1);
    EXPECT_FALSE(RunShortOfMemory(0, read));
}

TEST(RequestMemory, FillsTheRecordUnlessItIsTheFillThatIsRefused) {
    files::Install(files::Solution("100", "VCONFSET_INT", kLongName, {"1"}));
    WMSolutionParams params{};
    RequestApplySolution_BG("100", &params);
    int inTheRemoval = 0;
    int inTheFill = 0;
    std::size_t n = kBehindTheDocument;
    const auto request = [&params] {
        params = kUnset;
        RequestApplySolution_BG("100", &params);
    };
    for (; RunShortOfMemory(n, request); ++n) {
        SCOPED_TRACE(n);
        ASSERT_FALSE(Set().events.empty());
        if (Set().events.front() == kFromFill) {
            EXPECT_THAT(Set().events, ElementsAre(kFromFill));
            EXPECT_THAT(Fields(params), ElementsAre(-9, -9, -9, -9));
            EXPECT_FALSE(Set().intKeys.empty());
            ++inTheFill;
            continue;
        }
        EXPECT_THAT(Set().events,
                    ElementsAre(kFromRequest, "log 4 GetSolutionInformation: GetSolutionInformation IN",
                                "log 4 GetSolutionInformation: GetSolutionInformation Out"));
        EXPECT_THAT(Fields(params), ElementsAre(100, 7, 2, 1)) << "from the store as it stands";
        // Behind its action a request in the background only removes the problem.
        inTheRemoval += Set().intKeys.empty() ? 0 : 1;
    }
    EXPECT_GT(inTheRemoval, 0);
    EXPECT_GT(inTheFill, 0);
    EXPECT_THAT(Fields(params), ElementsAre(100, 7, 2, 1));
    EXPECT_THAT(Set().recordedSolutions, IsEmpty());
}
