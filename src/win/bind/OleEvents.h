#pragma once
// Events of automation objects through their real connection points. A sink of the system (a
// platform::IDispatch such as TEventSink) is advised as a COM object that answers the event
// interface's IID with its IDispatch and hands each event on by dispatch ID, its objects bound
// to the object model. Nothing thrown by a sink crosses back into the object that raised the event.
#include <memory>
#include <string>

#include "platform/Dispatch.h"
#include "platform/Outlook.h"
#include "win/com/ComSupport.h"

namespace win {

// The connection point of obj for the event interface iid ("{0006302B-...}"); raises
// EIntfCastError when obj has no connection points, EOleException when it has none for iid.
std::shared_ptr<platform::IConnectionPoint> FindOleConnectionPoint(IDispatch* obj, const std::string& iid);

// A COM sink that hands the events of the interface iid to target by dispatch ID, with the
// values of their arguments (an object among them reads as null). It holds target until it is
// released (by Unadvise, or by the object it was advised on).
TComPtr<IDispatch> MakeEventSink(const IID& iid, std::shared_ptr<platform::IDispatch> target);
// A COM sink of ItemsEvents: ItemAdd reaches target with the item bound to the object model.
TComPtr<IDispatch> MakeItemsEventsSink(std::shared_ptr<outlook::ItemsEvents> target);

// The IID of its text form; raises EOleException for text that is none.
IID ParseIid(const std::string& text);

}  // namespace win
