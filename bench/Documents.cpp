#include "Documents.h"

#include <array>
#include <cctype>
#include <cstddef>
#include <cstdio>
#include <string>

namespace bench {

namespace {

struct Kind {
    const char* type;
    const char* name;
    const char* value;
    const char* valueType;
};

constexpr std::array<Kind, 5> kKinds = {{
    {"VCONFSET_INT", "db/menu/network/ipsetting/mode", "1", "INT"},
    {"LAUNCH", "org.vesta.NetworkSetting-Vesta", "menu", "STRING"},
    {"VCONFSET_BOOL", "db/menu/sound/autovolume/state", "0", "BOOL"},
    {"SettingsAPI", "MenuPictureReset", "true", "STRING"},
    {"VCONFSET_STR", "db/menu/system/timezone/default", "auto", "STRING"},
}};

const std::string kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

constexpr const char* kSolutionFormat =
    "  <solution issue_code=\"%zu\" sol_code=\"%zu\" sol_type=\"%s\" sol_name=\"%s\"\n"
    "            sid_issue=\"SID_KURA_ISSUE_%06zu_TITLE\" sid_sol=\"SID_KURA_SOLUTION_%06zu_TEXT\"\n"
    "            sid_button1=\"SID_KURA_FIX_NOW\" sid_button2=\"SID_KURA_CANCEL_LATER\" reboot=\"false\" "
    "is_fg_bg=\"fg\"\n"
    "            action=\"ACTION\" toast1=\"SID_KURA_TOAST_%06zu_DONE\" "
    "toast2=\"SID_KURA_TOAST_%06zu_FAILED\"\n"
    "            source=\"%s\" view_authority=\"USER\">\n"
    "    <sol_val param_value=\"%s\" param_type=\"%s\"/>\n"
    "  </solution>\n";

}  // namespace

std::string SolutionMapText(std::size_t solutions) {
    std::string text = kDeclaration + "<solutionmap>\n  <sminfo version=\"7\"/>\n  <sm cnt=\"" +
                       std::to_string(solutions) + "\"/>\n";
    std::array<char, 1024> line{};
    for (std::size_t i = 0; i < solutions; ++i) {
        const Kind& kind = kKinds[i % kKinds.size()];
        const std::size_t code = 100000 + i;
        const int length =
            std::snprintf(line.data(), line.size(), kSolutionFormat, code, code, kind.type, kind.name, code,
                          code, code, code, i % 3 == 0 ? "DTV" : "HDMI", kind.value, kind.valueType);
        text.append(line.data(), static_cast<std::size_t>(length));
    }
    return text + "</solutionmap>\n";
}

std::string MixedCaseSolutionMapText(std::size_t solutions) {
    std::string text = SolutionMapText(solutions);
    bool inTag = false;
    bool inValue = false;
    bool upper = false;
    for (char& c : text) {
        inTag = inValue ? inTag : (c == '<' || (inTag && c != '>'));
        inValue = inTag && (c == '"') != inValue;
        const bool isNamePart = inTag && !inValue && c != '<' && c != '?' && c != '/';
        upper = isNamePart && !upper;
        if (upper) {
            c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        }
    }
    // The declaration is the one thing whose letter case is fixed.
    return kDeclaration + text.substr(kDeclaration.size());
}

std::string AwkwardSolutionMapText() {
    return kDeclaration +
           "<Map xmlns:k=\"urn:k\">\n"
           "<SMINFO VERSION=\"12\"/><sM other=\"1\" CNT=\"4294967295\"/>\n"
           "<SOLUTION Issue_Code=\"1\" ISSUE_CODE=\"2\" sol_type=\"a &amp; b &lt;&#65;&gt;\" unknown=\"x\" "
           "view_authority=\"\xc3\xa9\" issue_codes=\"3\" k:sol_code=\"4\">\n"
           "<other><Sol_Val PARAM_TYPE=\"INT\" param_value=\"1\"/></other><k:sol_val param_value=\"9\"/>\n"
           "</SOLUTION><!-- <solution/> --><sol_val/>\n"
           "<solution><solution source=\"DTV\"/></solution><sol_val param_value='&quot;&apos;'/>text</Map>\n";
}

}  // namespace bench
