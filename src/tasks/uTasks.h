#pragma once
// What is done to one task: opening it in Outlook, making its Outlook twin, deleting it, the
// lookups and writes on the Tasks table that the dialogs use, the task numbers and full names,
// the completion rule and the completed-task filter. All of it works on the current row of
// MemDataTasks (or of MemDataAddTask where said) through the module-wide variables.
#include <memory>
#include <string>

#include "base/DateTime.h"
#include "platform/Outlook.h"

class TcxTreeListNode;
class TField;
class TdxMemData;

// Opens the current task in Outlook, making its twin when it has none (or a stale one).
void ShowTask();
// Makes the Outlook twin of the current row; gives it, or what was made before a failure.
std::shared_ptr<outlook::_TaskItem> CreateTask();
// Moves the twin of that EntryID to Deleted Items.
void DeleteOutlookTask(const std::string& EntryID);
// Asks, then deletes the focused task and its shown descendants.
void DeleteTask();

// The highest Number among the parent's children, 0 when it has none. EConvertError when it is
// the largest integer, which has no next number to propose.
int GetMaxNumber(int ParentID);
bool NumberExists(int ParentID, int Number);
// 0: no such name under the parent; 1: an open task has it; 2: a completed one (FoundTaskID).
int NameExists(int ParentID, const std::string& Description);
int AppendTaskRow(const std::string& EntryID, int ParentID, int Number, const std::string& OwnerName,
                  const std::string& Description);
void UpdateTaskRow(const std::string& Description, TDateTime DueDate, TDateTime DateCompleted,
                   int Importance, int Status, int PercentComplete, int Sensitivity, bool Complete);
// Copies the open task's values back into the Tasks table at its close, and completes or
// reopens the subtree or the ancestors when "Complete" changed.
void SaveOpenTask();
// BeforeDelete of MemDataTasks.
void MemDataTasksBeforeDelete(TdxMemData& DataSet);
// OnChange of MemDataTasks.Complete.
void MemDataTasksCompleteChange(TField& Sender);

// Full number ("3.1.2") and full name ("Clients \ Acme \ Audit") of a node of the task tree.
std::string GetFullNumber(TcxTreeListNode* Node);
std::string GetNodeFullDescription(TcxTreeListNode* Node);

// The completed-task filter: open tasks and tasks completed within the last Days days.
void FilterTasks(int Days);
void UnfilterTasks();
