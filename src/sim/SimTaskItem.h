#pragma once
// A task item of the simulated mailbox, with Outlook's rules:
//   - a new task has Importance 1 (normal), Sensitivity 0, Status 0 (not started),
//     PercentComplete 0, Complete false, no dates (each reads 1/1/4501), and the current user as
//     Owner;
//   - Complete set true gives Status 2, PercentComplete 100 and DateCompleted today; set false
//     it gives Status 0, PercentComplete 0 and no DateCompleted;
//   - Status set to 2 completes the task as above; another Status on a complete task reopens it
//     (PercentComplete 0, no DateCompleted) with that Status;
//   - PercentComplete 100 completes the task; below 100 a complete task reopens (Status 1, or 0
//     for 0 percent), and a task not started with some percent done is in progress;
//   - DateCompleted set to a date completes the task on that date; set to no date it reopens it;
//   - dates hold the day only; any date from 1/1/4501 on is no date.
#include <memory>
#include <string>

#include "sim/SimItem.h"

namespace sim {

class TSimTaskItem final : public TSimItem, public outlook::_TaskItem {
public:
    TSimTaskItem(std::weak_ptr<detail::SimStore> store, std::weak_ptr<TSimFolder> folder, std::string messageClass,
                 std::string owner);

    std::shared_ptr<platform::IDispatch> Dispatch() override;
    const char* Kind() const override { return "TaskItem"; }
    const std::vector<TSimProperty>& Properties() const override;

    std::string EntryID() override;
    std::string MessageClass() override;
    std::string Subject() override;
    void SetSubject(const std::string& value) override;
    std::string Body() override;
    void SetBody(const std::string& value) override;
    std::string Owner() override;
    int Status() override;
    void SetStatus(int value) override;
    TDateTime DueDate() override;
    void SetDueDate(TDateTime value) override;
    TDateTime StartDate() override;
    void SetStartDate(TDateTime value) override;
    TDateTime DateCompleted() override;
    void SetDateCompleted(TDateTime value) override;
    int Importance() override;
    void SetImportance(int value) override;
    int PercentComplete() override;
    void SetPercentComplete(int value) override;
    int Sensitivity() override;
    void SetSensitivity(int value) override;
    bool Complete() override;
    void SetComplete(bool value) override;
    void Save() override;
    std::shared_ptr<outlook::_Inspector> GetInspector() override;
    void Display(bool modal) override;
    std::shared_ptr<platform::IDispatch> Move(const std::shared_ptr<outlook::MAPIFolder>& destination) override;

protected:
    void ApplyRules(const std::string& name, const Values& before, Values& after) override;
};

}  // namespace sim
