#include "JUnit.h"

#include <tinyxml2.h>

#include <algorithm>

namespace support {

namespace {

std::string ForXml(std::string text) {
    for (char& c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if ((byte < ' ' && c != '\n' && c != '\t') || byte == 0x7f) {
            c = '?';
        }
    }
    return text;
}

std::string ToMilliseconds(double seconds) {
    const std::string text = std::to_string(seconds);
    return text.substr(0, text.find('.') + 4);
}

class Printer {
public:
    Printer() { m_printer.PushHeader(false, true); }

    void Open(const char* element) { m_printer.OpenElement(element); }
    void Close() { m_printer.CloseElement(); }
    void Attribute(const char* name, const std::string& value) {
        m_printer.PushAttribute(name, ForXml(value).c_str());
    }
    void Time(std::optional<double> seconds) {
        if (seconds) {
            Attribute("time", ToMilliseconds(*seconds));
        }
    }
    void Text(const std::string& text) {
        if (!text.empty()) {
            m_printer.PushText(ForXml(text).c_str());
        }
    }
    std::string Whole() const { return m_printer.CStr(); }

private:
    tinyxml2::XMLPrinter m_printer;
};

void Put(Printer& printer, const JUnitCase& one) {
    printer.Open("testcase");
    printer.Attribute("name", one.name);
    printer.Attribute("classname", one.classname);
    printer.Time(one.seconds);
    if (one.result != JUnitCase::Result::kPassed) {
        printer.Open(one.result == JUnitCase::Result::kFailure ? "failure" : "error");
        printer.Attribute("message", one.message);
        printer.Text(one.text);
        printer.Close();
    } else if (!one.text.empty()) {
        printer.Open("system-out");
        printer.Text(one.text);
        printer.Close();
    }
    printer.Close();
}

void Put(Printer& printer, const JUnitSuite& suite) {
    std::optional<double> seconds;
    for (const JUnitCase& one : suite.cases) {
        seconds = one.seconds ? seconds.value_or(0) + *one.seconds : seconds;
    }
    const auto count = [&suite](JUnitCase::Result result) {
        return std::to_string(std::count_if(suite.cases.begin(), suite.cases.end(),
                                            [result](const JUnitCase& one) { return one.result == result; }));
    };
    printer.Open("testsuite");
    printer.Attribute("name", suite.name);
    printer.Attribute("tests", std::to_string(suite.cases.size()));
    printer.Attribute("failures", count(JUnitCase::Result::kFailure));
    printer.Attribute("errors", count(JUnitCase::Result::kError));
    printer.Time(seconds);
    for (const JUnitCase& one : suite.cases) {
        Put(printer, one);
    }
    printer.Close();
}

}  // namespace

std::string JUnitText(const std::string& name, const std::vector<JUnitSuite>& suites) {
    Printer printer;
    printer.Open("testsuites");
    printer.Attribute("name", name);
    for (const JUnitSuite& suite : suites) {
        Put(printer, suite);
    }
    printer.Close();
    return printer.Whole();
}

}  // namespace support
