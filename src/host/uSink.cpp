#include "host/uSink.h"

#include "base/Exceptions.h"
#include "base/Guard.h"
#include "host/Globals.h"
#include "platform/Outlook.h"
#include "tasks/uTasks.h"

using platform::IConnectionPointContainer;
using platform::QueryInterface;
using platform::Use;

TEventSink::TEventSink(Token, std::string Name) : name_(std::move(Name)) {}

std::shared_ptr<TEventSink> TEventSink::Create(const std::shared_ptr<platform::IDispatch>& Source,
                                               const std::string& Name) {
    auto sink = std::make_shared<TEventSink>(Token{}, Name);
    auto container = QueryInterface<IConnectionPointContainer>(Source);
    if (!container) platform::ThrowNilReference();
    TModuleGlobals& g = Globals();
    g.TaskConnection.reset();
    g.TaskConnection = container->FindConnectionPoint(outlook::IID_ItemEvents);
    g.TaskCookie = Use(g.TaskConnection).Advise(sink);
    return sink;
}

void TEventSink::Invoke(int32_t dispId, const std::vector<Variant>& args) noexcept {
    if (name_ != "Task") return;
    // Unload lets go of the last references to this sink: it stays alive until the call ends.
    std::shared_ptr<TEventSink> self = weak_from_this().lock();
    switch (dispId) {
        case outlook::DISPID_Close:
            Swallow([] {
                TModuleGlobals& g = Globals();
                if (g.TaskChanged) SaveOpenTask();
                g.TaskItem.reset();
                g.TaskOpen = false;
                g.TaskChanged = false;
                g.CompleteChanged = false;
            });
            break;
        case outlook::DISPID_Unload:
            Swallow([] {
                TModuleGlobals& g = Globals();
                g.TaskItem.reset();
                Use(g.TaskConnection).Unadvise(g.TaskCookie);
                g.TaskConnection.reset();
                g.TaskSink.reset();
            });
            break;
        case outlook::DISPID_PropertyChange:
            Swallow([&args] {
                if (args.empty()) throw EOleException("PropertyChange came without the property's name");
                std::string name = args.front().AsString();
                TModuleGlobals& g = Globals();
                if (name == "Complete") g.CompleteChanged = true;
                g.TaskChanged = true;
            });
            break;
        default: break;
    }
}
