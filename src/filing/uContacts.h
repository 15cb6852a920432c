#pragma once
// uContacts: contacts and distribution lists filed against tasks, both in the Contacts folder.
// Rows live in MemDataContacts and MemDataDistLists; several rows may share one item.
#include <memory>
#include <string>

#include "platform/Outlook.h"

std::shared_ptr<outlook::_ContactItem> CreateContactItem(int TaskID);
// The name is not used: a new list opens unnamed.
std::shared_ptr<outlook::_DistListItem> CreateDistListItem(int TaskID, const std::string& Name);
void FilterContacts(int TaskID);
void UnfilterContacts();
void FilterDistLists(int TaskID);
void UnfilterDistLists();
void ShowContactItem();
void ShowDistListItem();
void DeleteContactItem();
void DeleteDistListItem();
void RemoveContactItem();
void RemoveDistListItem();
