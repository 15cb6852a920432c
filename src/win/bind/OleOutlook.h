#pragma once
// Outlook's object model on Windows: the classes of platform/Outlook.h bound late, through
// IDispatch, to Outlook's automation objects. Each object that a member hands out is bound to
// the class that its Class property names (an _TaskItem for olTask, a MAPIFolder for olFolder,
// ...); an item of a class not bound yet is a bare IDispatch that offers its connection points.
// Every binding holds one reference to its automation object, released when the binding goes.
#include <memory>

#include "platform/Outlook.h"
#include "win/com/ComSupport.h"

namespace win {

// Outlook's OlObjectClass values, as the Class property gives them.
enum OlObjectClass : int {
    olApplication = 0,
    olNamespace = 1,
    olFolder = 2,
    olRecipient = 4,
    olFolders = 15,
    olItems = 16,
    olRecipients = 17,
    olAttachments = 18,
    olAppointment = 26,
    olExplorer = 34,
    olInspector = 35,
    olUserProperties = 38,
    olUserProperty = 39,
    olContact = 40,
    olMail = 43,
    olPost = 45,
    olTask = 48,
    olDistributionList = 69,
    olSelection = 74,
};

std::shared_ptr<outlook::_Application> BindOutlookApplication(TComPtr<IDispatch> application);
// Any object of the object model; empty for an empty one.
std::shared_ptr<platform::IDispatch> BindOutlookObject(TComPtr<IDispatch> object);
// The automation object behind a binding; null for an object that is no binding.
IDispatch* AutomationObjectOf(const platform::IDispatch* object);

}  // namespace win
