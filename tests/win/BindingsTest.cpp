// Outlook's object model bound late through IDispatch: members reached by name, each name
// resolved once; failures carrying Outlook's message; item and folder events through real
// connection points; every reference released when its holder goes.
#include <algorithm>
#include <map>

#include "WinFixture.h"
#include "base/Exceptions.h"
#include "host/Items.h"
#include "platform/Outlook.h"
#include "sim/SimItem.h"
#include "sim/SimOutlook.h"
#include "win/bind/OleOutlook.h"
#include "win/winhost/AutoOutlook.h"

namespace {

using namespace wintest;
using platform::QueryInterface;

// Hands every call on to an automation object, counting the names asked for.
class TCountingDispatch final : public IDispatch {
public:
    explicit TCountingDispatch(IDispatch* inner) : inner_(inner) {}
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IDispatch)) {
            *out = this;
            AddRef();
            return S_OK;
        }
        return inner_->QueryInterface(iid, out);
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++refs_; }
    ULONG STDMETHODCALLTYPE Release() override { return --refs_; }
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* n) override { return inner_->GetTypeInfoCount(n); }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT i, LCID l, ITypeInfo** t) override { return inner_->GetTypeInfo(i, l, t); }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID r, LPOLESTR* names, UINT n, LCID l, DISPID* ids) override {
        ++asked[win::Utf8(names[0])];
        return inner_->GetIDsOfNames(r, names, n, l, ids);
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID r, LCID l, WORD f, DISPPARAMS* p, VARIANT* v, EXCEPINFO* e,
                                     UINT* a) override {
        return inner_->Invoke(id, r, l, f, p, v, e, a);
    }
    std::map<std::string, int> asked;
    ULONG refs_ = 1;

private:
    win::TComPtr<IDispatch> inner_;
};

// Records the events it is given.
class TRecordingSink final : public platform::IDispatch {
public:
    void Invoke(int32_t dispId, const std::vector<Variant>& args) override {
        std::string line = std::to_string(dispId);
        for (const Variant& a : args) line += " " + a.AsString();
        events.push_back(line);
    }
    std::vector<std::string> events;
};

class BindingsTest : public WinHostTest {
protected:
    std::shared_ptr<outlook::_NameSpace> NameSpace() {
        return win::BindOutlookApplication(win::TComPtr<IDispatch>(host_->Application()))->GetNamespace("MAPI");
    }
    sim::TSimOutlook& Outlook() { return host_->Host().Outlook; }
};

TEST_F(BindingsTest, MembersAreReachedByNameEachNameAskedForOnce) {
    long before = win::TComObjectCount::Live();
    {
        TCountingDispatch counting(host_->Application());
        auto app = win::BindOutlookApplication(win::TComPtr<IDispatch>(&counting));
        auto ns = app->GetNamespace("MAPI");
        app->GetNamespace("MAPI");
        EXPECT_EQ(counting.asked["GetNamespace"], 1);

        EXPECT_EQ(ns->CurrentUser()->Name(), "Alex Morgan");
        auto inbox = ns->GetDefaultFolder(outlook::olFolderInbox);
        EXPECT_EQ(inbox->Name(), "Inbox");
        EXPECT_EQ(inbox->DefaultItemType(), outlook::olMailItem);
        // The root's parent is the name space; a folder's is a folder.
        auto root = QueryInterface<outlook::MAPIFolder>(inbox->Parent());
        ASSERT_TRUE(root);
        EXPECT_TRUE(QueryInterface<outlook::_NameSpace>(root->Parent()));
        auto made = root->Folders()->Add("CorvelleEmail", outlook::olFolderInbox);
        EXPECT_EQ(root->Folders()->Item("corvelleemail")->EntryID(), made->EntryID());
        EXPECT_EQ(Outlook().FindFolder("CorvelleEmail")->Id(), made->EntryID());
    }
    // Every binding held one reference, and gave it back when it went.
    EXPECT_EQ(win::TComObjectCount::Live(), before);
}

TEST_F(BindingsTest, AFailingMemberRaisesEOleExceptionWithOutlooksMessage) {
    auto ns = NameSpace();
    host_->Host().Failures->FailNext("NameSpace.GetDefaultFolder");
    try {
        ns->GetDefaultFolder(outlook::olFolderTasks);
        FAIL() << "no exception";
    } catch (const EOleException& e) {
        EXPECT_EQ(e.Message(), "Simulated failure of NameSpace.GetDefaultFolder");
    }
    auto root = QueryInterface<outlook::MAPIFolder>(ns->GetDefaultFolder(outlook::olFolderInbox)->Parent());
    EXPECT_THROW(root->Folders()->Item("Nothing of that name"), EOleException);
    EXPECT_THROW(ns->GetItemFromID("", Outlook().StoreID()), EOleException);
}

TEST_F(BindingsTest, ATaskItemKeepsWhatItIsGivenAndItsEventsComeThroughItsConnectionPoint) {
    auto ns = NameSpace();
    auto tasks = ns->GetDefaultFolder(outlook::olFolderTasks);
    auto task = QueryInterface<outlook::_TaskItem>(tasks->Items()->Add("IPM.Task"));
    ASSERT_TRUE(task);
    task->SetSubject("Lease renewal");
    task->SetBody("Call the landlord.\r\n");
    task->SetImportance(outlook::olImportanceHigh);
    task->SetDueDate(EncodeDate(2026, 4, 1));
    task->Save();
    ASSERT_FALSE(task->EntryID().empty());
    auto again = QueryInterface<outlook::_TaskItem>(ns->GetItemFromID(task->EntryID(), tasks->StoreID()));
    EXPECT_EQ(again->Subject(), "Lease renewal");
    EXPECT_EQ(again->Body(), "Call the landlord.\r\n");
    EXPECT_EQ(again->Importance(), outlook::olImportanceHigh);
    EXPECT_EQ(again->DueDate(), EncodeDate(2026, 4, 1));
    EXPECT_EQ(again->DateCompleted(), EncodeDate(4501, 1, 1));  // no date

    auto sink = std::make_shared<TRecordingSink>();
    auto connection = QueryInterface<platform::IConnectionPointContainer>(again)->FindConnectionPoint(
        outlook::IID_ItemEvents);
    uint32_t cookie = connection->Advise(sink);
    again->Display(false);
    auto item = Outlook().ActiveItem();
    ASSERT_TRUE(item);
    item->UserSetPropertyText("Complete", "true");
    item->UserClose();
    // Open; the change, with the property's name; Close; Write of what changed; Unload.
    auto at = [&](const std::string& e) {
        return std::find(sink->events.begin(), sink->events.end(), e) - sink->events.begin();
    };
    auto id = [](int32_t d) { return std::to_string(d); };
    ASSERT_FALSE(sink->events.empty());
    EXPECT_EQ(sink->events.front(), id(outlook::DISPID_Open));
    EXPECT_LT(at(id(outlook::DISPID_PropertyChange) + " Complete"), at(id(outlook::DISPID_Close)));
    EXPECT_LT(at(id(outlook::DISPID_Close)), at(id(outlook::DISPID_Write)));
    EXPECT_EQ(sink->events.back(), id(outlook::DISPID_Unload));
    connection->Unadvise(cookie);
    EXPECT_TRUE(Outlook().FindItem(task->EntryID())->Connection().Cookies().empty());
}

TEST_F(BindingsTest, TheWatcherHearsOfAnItemAddedToItsFolderOnlyWhileConnected) {
    auto ns = NameSpace();
    TItems watcher;
    std::vector<std::string> heard;
    watcher.OnItemAdd = [&](const std::shared_ptr<platform::IDispatch>& item) {
        heard.push_back(QueryInterface<outlook::_TaskItem>(item)->Subject());
    };
    watcher.ConnectTo(ns->GetDefaultFolder(outlook::olFolderTasks)->Items());
    Outlook().AddItem("Tasks", "IPM.Task", {{"Subject", "Sent for filing"}});
    EXPECT_EQ(Outlook().DeliverItemAdds(), 1);  // Outlook's message loop comes round
    watcher.Disconnect();
    EXPECT_EQ(Outlook().FindFolder("Tasks")->ItemSinkCount(), 0u);
    Outlook().AddItem("Tasks", "IPM.Task", {{"Subject", "Not watched"}});
    Outlook().DeliverItemAdds();
    EXPECT_EQ(heard, std::vector<std::string>{"Sent for filing"});
}

}  // namespace
