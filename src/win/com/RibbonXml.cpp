#include "win/com/RibbonXml.h"

#include <algorithm>

namespace win {
namespace {

std::string Escaped(const std::string& text) {
    std::string out;
    for (char c : text) {
        switch (c) {
            case '&': out += "&amp;"; break;
            case '<': out += "&lt;"; break;
            case '>': out += "&gt;"; break;
            case '"': out += "&quot;"; break;
            case '\'': out += "&apos;"; break;
            default: out += c;
        }
    }
    return out;
}

bool ShownIn(const TadxRibbonTab& tab, const std::string& ribbonId) {
    if (ribbonId != kExplorerRibbonId) return false;
    return std::any_of(tab.Ribbons.begin(), tab.Ribbons.end(), [](TadxRibbonContext c) {
        return c == TadxRibbonContext::msrOutlookExplorer || c == TadxRibbonContext::msrOutlookExplorer2010;
    });
}

}  // namespace

std::string RibbonActionName(const TadxRibbonButton& button) { return button.Id + "_Click"; }

std::string RibbonXml(const TadxRibbonTab& tab, const std::string& ribbonId) {
    if (!ShownIn(tab, ribbonId)) return {};
    std::string x;
    x += "<customUI xmlns=\"http://schemas.microsoft.com/office/2009/07/customui\" onLoad=\"";
    x += kRibbonLoadedCallback;
    x += "\" loadImage=\"";
    x += kRibbonImageCallback;
    x += "\">\n";
    x += "  <ribbon>\n    <tabs>\n";
    x += "      <tab id=\"" + Escaped(tab.Id) + "\" label=\"" + Escaped(tab.Caption) + "\">\n";
    for (const TadxRibbonGroup& g : tab.Controls) {
        x += "        <group id=\"" + Escaped(g.Id) + "\"";
        if (!g.Caption.empty()) x += " label=\"" + Escaped(g.Caption) + "\"";
        if (!g.Visible) x += " visible=\"false\"";
        x += ">\n";
        for (const TadxRibbonButton& b : g.Controls) {
            x += "          <button id=\"" + Escaped(b.Id) + "\" label=\"" + Escaped(b.Caption) + "\"";
            x += b.Size == TadxRibbonControlSize::csLarge ? " size=\"large\"" : " size=\"normal\"";
            // Each button's glyph is named after it.
            x += " image=\"" + Escaped(b.Id) + "\"";
            if (!b.ScreenTip.empty()) x += " screentip=\"" + Escaped(b.ScreenTip) + "\"";
            x += " onAction=\"" + Escaped(RibbonActionName(b)) + "\"/>\n";
        }
        x += "        </group>\n";
    }
    x += "      </tab>\n    </tabs>\n  </ribbon>\n</customUI>\n";
    return x;
}

}  // namespace win
