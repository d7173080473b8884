#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Fakes.h"
#include "KURA_XMLParser.h"
#include "dlog.h"

using Elements = KURA::TCXMLParser::TCElements;

TEST(Elements, LogAndKeepTheTextOfAnElement) {
    Elements elements;
    elements.InsertElementData("a", "first");
    elements.InsertElementData("a", "second");
    std::string data;
    EXPECT_TRUE(elements.GetElementData("a", data));
    EXPECT_EQ(data, "second");
    EXPECT_EQ(fakes::Set().Messages("InsertElementData"),
              (std::vector<std::string>{"tag [a] value [first]", "tag [a] value [second]"}));
    EXPECT_TRUE(fakes::Set().Logged(DLOG_INFO, "tag [a] value [second]"));
}

TEST(Elements, LeaveTheOutputUntouchedForAnUnknownName) {
    const Elements elements;
    std::string data = "before";
    EXPECT_FALSE(elements.GetElementData("a", data));
    EXPECT_EQ(data, "before");
}

TEST(Elements, LogTheCurrentElementAsItWasBeforeItIsSet) {
    Elements elements;
    elements.SetCurrentElement("one");
    elements.SetCurrentElement("two");
    EXPECT_EQ(
        fakes::Set().Messages("SetCurrentElement"),
        (std::vector<std::string>{"tag [one] m_current_element []", "tag [two] m_current_element [one]"}));
    EXPECT_TRUE(fakes::Set().Logged(DLOG_INFO, "tag [two] m_current_element [one]"));
}

TEST(Elements, LogTheCurrentElementBeforeAndAfterHandingItOut) {
    Elements elements;
    elements.SetCurrentElement("one");
    std::string name = "before";
    elements.GetCurrentElement(name);
    EXPECT_EQ(name, "one");
    EXPECT_EQ(fakes::Set().Messages("GetCurrentElement"),
              (std::vector<std::string>{"        [one]", "tag [one]"}));
    EXPECT_TRUE(fakes::Set().Logged(DLOG_INFO, "        [one]"));
    EXPECT_TRUE(fakes::Set().Logged(DLOG_INFO, "tag [one]"));
}
