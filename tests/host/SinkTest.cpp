// The task event sink on an Outlook task open in its inspector: what a change, a close and an
// unload do to the open-task state and to the Tasks table, a sink for something else, a second
// sink on the same task, and the module's shutdown with a task open.
#include "HostFixture.h"

#include "host/uSink.h"
#include "sim/SimItem.h"

namespace {

using outlook::_TaskItem;
using platform::QueryInterface;
using platform::Use;
using sim::TSimItem;

// Counts what a table tells its views.
class TTableWatch : public IDataObserver {
public:
    explicit TTableWatch(TdxMemData& t) : table_(t) { t.AddObserver(this); }
    ~TTableWatch() override { table_.RemoveObserver(this); }
    void DataEvent(TdxMemData&, TDataEvent, TField*) override { ++events; }
    int events = 0;

private:
    TdxMemData& table_;
};

class SinkTest : public HostTest {
protected:
    void SetUp() override {
        HostTest::SetUp();
        m_ = &Start();
        AddTask(m_->MemDataTasks, -1, "Audit");
    }

    // What opening a task does: its twin shown in an inspector, the open state set, and a sink
    // called Name connected to it.
    std::shared_ptr<_TaskItem> Open(const std::string& subject = "Audit", const std::string& name = "Task") {
        TModuleGlobals& g = Globals();
        auto item = QueryInterface<_TaskItem>(Use(g.TasksFolder).Items()->Add("IPM.Task"));
        item->SetSubject(subject);
        item->Save();
        g.TaskItem = item;
        item->Display(false);
        g.TaskChanged = false;
        g.TaskOpen = true;
        g.TaskSink = TEventSink::Create(g.TaskItem, name);
        return item;
    }

    std::string RowDescription() { return m_->MemDataTasks.FieldByName("Description").AsString(); }

    static void ExpectNoTaskOpen() {
        const TModuleGlobals& g = Globals();
        EXPECT_FALSE(g.TaskItem);
        EXPECT_FALSE(g.TaskOpen);
        EXPECT_FALSE(g.TaskChanged);
        EXPECT_FALSE(g.CompleteChanged);
    }

    TAddInModule* m_ = nullptr;
};

TEST_F(SinkTest, AChangeThenTheCloseCopiesOutlooksValuesIntoTheRow) {
    auto item = Open();
    TModuleGlobals& g = Globals();
    std::weak_ptr<TEventSink> sink = g.TaskSink;
    auto connection = g.TaskConnection;
    EXPECT_EQ(connection,
              QueryInterface<platform::IConnectionPointContainer>(item)->FindConnectionPoint(outlook::IID_ItemEvents));
    EXPECT_EQ(TSimItem::From(item)->Connection().Cookies(), std::vector<uint32_t>{g.TaskCookie});

    TSimItem::From(item)->UserSetProperty("Subject", "Audit 2026");
    TSimItem::From(item)->UserSetPropertyText("Importance", "2");
    EXPECT_TRUE(g.TaskChanged);
    EXPECT_FALSE(g.CompleteChanged);
    EXPECT_EQ(RowDescription(), "Audit");  // nothing is written before the close

    TSimItem::From(item)->UserClose(sim::TSimCloseChoice::Discard);
    EXPECT_EQ(RowDescription(), "Audit 2026");
    EXPECT_EQ(m_->MemDataTasks.FieldByName("Importance").AsInteger(), 2);
    ExpectNoTaskOpen();
    // The unload disconnected the sink, and nothing holds it any more.
    EXPECT_FALSE(g.TaskConnection);
    EXPECT_FALSE(g.TaskSink);
    EXPECT_TRUE(TSimItem::From(item)->Connection().Cookies().empty());
    EXPECT_TRUE(sink.expired());
}

TEST_F(SinkTest, ACloseWithoutAChangeWritesNothingAndClearsTheState) {
    auto item = Open("Audit in Outlook");
    TTableWatch watch(m_->MemDataTasks);
    TSimItem::From(item)->UserClose();
    EXPECT_EQ(watch.events, 0);
    EXPECT_EQ(RowDescription(), "Audit");
    ExpectNoTaskOpen();
    EXPECT_FALSE(Globals().TaskSink);
}

TEST_F(SinkTest, CompleteSetsBothFlagsAndAnyOtherNameOnlyTaskChanged) {
    auto item = Open();
    TModuleGlobals& g = Globals();
    std::shared_ptr<TEventSink> sink = g.TaskSink;

    sink->Invoke(outlook::DISPID_PropertyChange, {Variant("Status")});
    EXPECT_TRUE(g.TaskChanged);
    EXPECT_FALSE(g.CompleteChanged);

    // Events that mean nothing to the sink, and a change without its name.
    g.TaskChanged = false;
    for (int32_t id : {int32_t(outlook::DISPID_Write), int32_t(outlook::DISPID_Open), int32_t(outlook::DISPID_Read),
                       int32_t(outlook::DISPID_Send), int32_t(0x1234)})
        sink->Invoke(id, {Variant("Complete")});
    sink->Invoke(outlook::DISPID_PropertyChange, {});
    EXPECT_FALSE(g.TaskChanged || g.CompleteChanged);
    EXPECT_TRUE(g.TaskOpen && g.TaskItem);

    // The user ticking Complete: Outlook raises "Complete" first, and the rest with it.
    TSimItem::From(item)->UserSetProperty("Complete", true);
    EXPECT_TRUE(g.TaskChanged);
    EXPECT_TRUE(g.CompleteChanged);
}

TEST_F(SinkTest, ASinkForSomethingElseDoesNothing) {
    auto item = Open("Audit 2026", "Mail");
    TModuleGlobals& g = Globals();
    EXPECT_TRUE(g.TaskConnection);  // connected all the same
    TSimItem::From(item)->UserSetProperty("Complete", true);
    TSimItem::From(item)->UserClose();
    EXPECT_FALSE(g.TaskChanged || g.CompleteChanged);
    EXPECT_TRUE(g.TaskOpen && g.TaskItem && g.TaskConnection && g.TaskSink);
    EXPECT_EQ(RowDescription(), "Audit");
}

TEST_F(SinkTest, ASecondSinkTakesOverTheConnectionAndTheTaskIsStillSavedOnce) {
    // A baseline: the table's events of one close with one change and one sink.
    auto first = Open("Audit");
    TSimItem::From(first)->UserSetProperty("Body", "x");
    int oneSave = 0;
    {
        TTableWatch watch(m_->MemDataTasks);
        TSimItem::From(first)->UserClose();
        oneSave = watch.events;
    }
    ASSERT_GT(oneSave, 0);

    // The refused second open connects one more sink to the task that is open.
    auto item = Open("Audit 2026");
    TModuleGlobals& g = Globals();
    auto firstSink = g.TaskSink;
    uint32_t firstCookie = g.TaskCookie;
    auto connection = g.TaskConnection;
    g.TaskSink = TEventSink::Create(g.TaskItem, "Task");
    EXPECT_NE(g.TaskSink, firstSink);
    EXPECT_EQ(g.TaskConnection, connection);  // the item's one connection point
    EXPECT_NE(g.TaskCookie, firstCookie);
    EXPECT_EQ(TSimItem::From(item)->Connection().Cookies(), (std::vector<uint32_t>{firstCookie, g.TaskCookie}));
    firstSink.reset();

    TSimItem::From(item)->UserSetProperty("Subject", "Audit 2027");
    {
        TTableWatch watch(m_->MemDataTasks);
        TSimItem::From(item)->UserClose();
        EXPECT_EQ(watch.events, oneSave);
    }
    EXPECT_EQ(RowDescription(), "Audit 2027");
    ExpectNoTaskOpen();
    EXPECT_FALSE(g.TaskConnection);
    EXPECT_FALSE(g.TaskSink);

    // The task opened again later: still one save per close.
    g.TaskItem = item;
    item->Display(false);
    g.TaskOpen = true;
    g.TaskSink = TEventSink::Create(g.TaskItem, "Task");
    TSimItem::From(item)->UserSetProperty("Subject", "Audit 2028");
    {
        TTableWatch watch(m_->MemDataTasks);
        TSimItem::From(item)->UserClose();
        EXPECT_EQ(watch.events, oneSave);
    }
    EXPECT_EQ(RowDescription(), "Audit 2028");
    ExpectNoTaskOpen();
}

TEST_F(SinkTest, ASourceWithoutConnectionPointsIsRefused) {
    TModuleGlobals& g = Globals();
    auto item = Open();
    auto connection = g.TaskConnection;
    EXPECT_THROW(TEventSink::Create(g.TasksFolder, "Task"), EIntfCastError);
    EXPECT_THROW(TEventSink::Create(nullptr, "Task"), EAccessViolation);
    EXPECT_EQ(g.TaskConnection, connection);
}

TEST_F(SinkTest, ShutdownLetsGoOfTheSinkWithoutDisconnectingIt) {
    auto item = Open();
    TModuleGlobals& g = Globals();
    std::weak_ptr<TEventSink> sink = g.TaskSink;
    m_->OnBeginShutdown();
    EXPECT_FALSE(g.TaskItem);
    EXPECT_FALSE(g.TaskConnection);
    EXPECT_FALSE(g.TaskSink);
    // Still advised: the item holds the sink until it unloads.
    EXPECT_EQ(TSimItem::From(item)->Connection().Cookies().size(), 1u);
    EXPECT_FALSE(sink.expired());

    // The inspector closes after the add-in has gone: the sink's failures stay with it.
    m_->OnDisconnection();
    module_.reset();
    ASSERT_FALSE(HaveGlobals());
    TSimItem::From(item)->UserSetProperty("Subject", "Late");
    TSimItem::From(item)->UserClose();
    EXPECT_EQ(TSimItem::From(item)->Connection().Cookies().size(), 1u);
    EXPECT_EQ(item->Subject(), "Late");
}

}  // namespace
