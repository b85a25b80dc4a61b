#include "event/property_list.h"

namespace TmxPLC {

namespace {

// One pass over the text. The search goes on behind what was put in, so that a replacement is not
// replaced again.
void ReplaceAll(WideString& text, WideChar unit, WideView replacement) {
    for (std::size_t at = text.find(unit); at != WideString::npos;
         at = text.find(unit, at + replacement.size()))
        text.replace(at, 1, replacement);
}

// The ampersand comes first: the other two replacements hold one. Quotes, apostrophes and control
// characters stay, and a text that is escaped already is escaped again.
WideString Escape(WideView text) {
    WideString escaped(text);
    ReplaceAll(escaped, '&', TMX_WIDE("&amp;"));
    ReplaceAll(escaped, '<', TMX_WIDE("&lt;"));
    ReplaceAll(escaped, '>', TMX_WIDE("&gt;"));
    return escaped;
}

}  // namespace

const WideString& ListProperties(Properties& properties) {
    WideString text;
    if (properties.All().empty()) {
        text = TMX_WIDE("<properties />");
    } else {
        text = TMX_WIDE("<properties>\r\n");
        for (const auto& [name, value] : properties.All()) {
            text += TMX_WIDE("  <property>\r\n    <name>");
            text += Escape(name);
            text += TMX_WIDE("</name>\r\n    <value>");
            text += Escape(value);
            text += TMX_WIDE("</value>\r\n  </property>\r\n");
        }
        text += TMX_WIDE("</properties>");
    }
    return properties.ListText() = std::move(text);
}

}  // namespace TmxPLC
