#pragma once
// uNotes: the notes of tasks, kept as Outlook posts ("IPM.Post") in "CorvelleNotes". Rows live
// in MemDataNotes. A post made for a task is filed when the user saves it.
#include <memory>
#include <string>

#include "platform/Outlook.h"

std::shared_ptr<outlook::_PostItem> CreatePostItem(int TaskID, const std::string& Subject);
void FilterNotes(int TaskID);
void UnfilterNotes();
void ShowPostItem();
void DeletePostItem();
