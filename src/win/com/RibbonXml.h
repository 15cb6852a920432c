#pragma once
// The ribbon XML of the add-in's tab, as IRibbonExtensibility::GetCustomUI gives it to Office:
// the tab with all its groups in order (hidden ones kept, marked visible="false"), each button
// large, with its label, screen tip, its own glyph (named after the button, handed over by the
// loadImage callback) and its own onAction callback, and the ribbon's onLoad callback. Office
// calls the callbacks by name through the add-in's IDispatch.
#include <string>

#include "framework/RibbonTab.h"

namespace win {

// The ribbon that Outlook's explorer window asks for.
inline constexpr const char* kExplorerRibbonId = "Microsoft.Outlook.Explorer";
// The onLoad callback: it hands over the ribbon's IRibbonUI.
inline constexpr const char* kRibbonLoadedCallback = "adxCOMAddInModuleRibbonLoaded";
// The loadImage callback: the picture of a button's image by its name.
inline constexpr const char* kRibbonImageCallback = "adxCOMAddInModuleLoadImage";

// The XML for the ribbon ribbonId: the tab when it is shown in that ribbon, else empty (Office
// then adds nothing there).
std::string RibbonXml(const TadxRibbonTab& tab, const std::string& ribbonId);
// The name of a button's onAction callback.
std::string RibbonActionName(const TadxRibbonButton& button);

}  // namespace win
