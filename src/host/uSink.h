#pragma once
// TEventSink: the sink of the item events of the Outlook task that the add-in opened. While the
// task's inspector is open it notes what changed; when the inspector closes it has the changes
// copied into the Tasks table (SaveOpenTask), and when the item unloads it lets go of the item and
// of its connection.
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/Variant.h"
#include "platform/Dispatch.h"

class TEventSink : public platform::IDispatch, public std::enable_shared_from_this<TEventSink> {
    struct Token {};

public:
    TEventSink(Token, std::string Name);

    // Makes a sink called Name and connects it to the item events of Source: the item's
    // connection point for ItemEvents goes into TaskConnection (any earlier one released first),
    // and the cookie of the Advise into TaskCookie. Raises EIntfCastError when Source offers no
    // connection points, and whatever the connection raises.
    static std::shared_ptr<TEventSink> Create(const std::shared_ptr<platform::IDispatch>& Source,
                                              const std::string& Name);

    // The item's events by dispatch ID. Only a sink called "Task" acts: Close saves the open task
    // when it changed and clears the open-task state, Unload disconnects, PropertyChange notes
    // the change. Nothing escapes.
    void Invoke(int32_t dispId, const std::vector<Variant>& args) noexcept override;

    const std::string& Name() const { return name_; }

private:
    std::string name_;
};
