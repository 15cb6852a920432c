#pragma once
// Simulated services of the machine: dialogs that record what they show and take their answers
// from a queue, a registry held in a map, a fixed work area, a help viewer and a trace client
// that record their calls, and a settable add-in file name. TSimHost bundles them with a
// simulated Outlook and hands out what a module needs.
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "framework/AddInModule.h"
#include "platform/Services.h"
#include "sim/SimExcel.h"
#include "sim/SimOutlook.h"

namespace sim {

enum class TSimDialogKind { Message, YesNo, YesNoCancel };

struct TSimDialogRecord {
    TSimDialogKind kind = TSimDialogKind::Message;
    std::string text;
    platform::DialogIcon icon = platform::DialogIcon::None;
    std::optional<platform::DialogAnswer> answer;  // what the question got; none for a message
};

class TSimDialogs : public platform::IDialogs {
public:
    explicit TSimDialogs(std::shared_ptr<TSimFailures> failures = nullptr);

    void ShowMessage(const std::string& text) override;
    platform::DialogAnswer AskYesNo(const std::string& text,
                                    platform::DialogIcon icon = platform::DialogIcon::Confirmation) override;
    platform::DialogAnswer AskYesNoCancel(const std::string& text,
                                          platform::DialogIcon icon = platform::DialogIcon::None) override;

    // Answers for the coming questions, taken in order.
    void QueueAnswer(platform::DialogAnswer answer) { answers_.push_back(answer); }
    size_t PendingAnswers() const { return answers_.size(); }

    // Everything shown, in order.
    const std::vector<TSimDialogRecord>& Records() const { return records_; }
    // The texts of all messages and questions shown, in order.
    std::vector<std::string> Texts() const;
    // Misuses: a question with no answer queued, or an answer the question doesn't offer. The
    // question raises ESimError as well.
    const std::vector<std::string>& Errors() const { return errors_; }
    void Clear();

    // Told of each message as it is shown and of each question once it has its answer, so that
    // a host can print them as they happen. A question left without an answer is not told here
    // (it is one of Errors()).
    std::function<void(const TSimDialogRecord&)> OnShown;

private:
    platform::DialogAnswer Ask(TSimDialogKind kind, const std::string& text, platform::DialogIcon icon);
    std::shared_ptr<TSimFailures> failures_;
    std::deque<platform::DialogAnswer> answers_;
    std::vector<TSimDialogRecord> records_;
    std::vector<std::string> errors_;
};

// Keys and value names are matched ignoring case, and a leading or trailing backslash of a key
// doesn't count, as in the Windows registry.
class TSimRegistry : public platform::IRegistry {
public:
    explicit TSimRegistry(std::shared_ptr<TSimFailures> failures = nullptr) : failures_(std::move(failures)) {}

    std::optional<uint32_t> ReadDword(platform::RegistryRoot root, const std::string& keyPath,
                                      const std::string& valueName) override;

    void SetDword(platform::RegistryRoot root, const std::string& keyPath, const std::string& valueName,
                  uint32_t value);
    void DeleteValue(platform::RegistryRoot root, const std::string& keyPath, const std::string& valueName);
    void Clear() { values_.clear(); }

private:
    using Key = std::tuple<platform::RegistryRoot, std::string, std::string>;
    static Key MakeKey(platform::RegistryRoot root, const std::string& keyPath, const std::string& valueName);
    std::shared_ptr<TSimFailures> failures_;
    std::map<Key, uint32_t> values_;
};

class TSimScreen : public platform::IScreen {
public:
    explicit TSimScreen(std::shared_ptr<TSimFailures> failures = nullptr) : failures_(std::move(failures)) {}

    platform::TRect WorkArea() override;
    platform::TPoint CursorPos() override;
    int Cursor() override { return cursorShape_; }
    void SetCursor(int shape) override { cursorShape_ = shape; }

    void SetWorkArea(platform::TRect r) { workArea_ = r; }
    void SetCursorPos(platform::TPoint p) { cursor_ = p; }

private:
    std::shared_ptr<TSimFailures> failures_;
    platform::TRect workArea_{0, 0, 1920, 1040};
    platform::TPoint cursor_{0, 0};
    int cursorShape_ = platform::crDefault;
};

class TSimHelp : public platform::IHelp {
public:
    explicit TSimHelp(std::shared_ptr<TSimFailures> failures = nullptr) : failures_(std::move(failures)) {}

    struct Call {
        std::string helpFile;
        int context = 0;
    };
    void ShowContext(const std::string& helpFile, int context) override;
    const std::vector<Call>& Calls() const { return calls_; }

    // Told of each opening of help as it happens.
    std::function<void(const Call&)> OnShow;

private:
    std::shared_ptr<TSimFailures> failures_;
    std::vector<Call> calls_;
};

class TSimModuleInfo : public platform::IModuleInfo {
public:
    explicit TSimModuleInfo(std::string fileName, std::shared_ptr<TSimFailures> failures = nullptr)
        : failures_(std::move(failures)), fileName_(std::move(fileName)) {}

    std::string ModuleFileName() override;
    void SetModuleFileName(std::string value) { fileName_ = std::move(value); }

private:
    std::shared_ptr<TSimFailures> failures_;
    std::string fileName_;
};

// Records each connect; connects only when told to.
class TSimTraceClient : public platform::ITraceClient {
public:
    struct Call {
        std::string host;
        int port = 0;
    };
    bool Connect(const std::string& host, int port) noexcept override;
    void Disconnect() noexcept override { connected_ = false; }
    bool Connected() const noexcept override { return connected_; }

    void SetListening(bool value) { listening_ = value; }
    const std::vector<Call>& Calls() const { return calls_; }

private:
    std::vector<Call> calls_;
    bool listening_ = false;
    bool connected_ = false;
};

// A simulated machine with Outlook and Excel on it: one mailbox, one set of services, one failure list
// shared by all. It outlives the add-in modules started against it.
class TSimHost {
public:
    explicit TSimHost(std::string moduleFileName = "/opt/corvelle/Corvelle.dll");

    std::shared_ptr<TSimFailures> Failures;
    TSimOutlook Outlook;
    std::shared_ptr<TSimDialogs> Dialogs;
    std::shared_ptr<TSimRegistry> Registry;
    std::shared_ptr<TSimScreen> Screen;
    std::shared_ptr<TSimHelp> Help;
    std::shared_ptr<TSimModuleInfo> Module;
    std::shared_ptr<platform::ITraceClient> Trace;  // a TSimTraceClient unless replaced
    std::shared_ptr<TSimExcel> Excel;

    platform::Services Services() const;
    // What the host tells a module it starts.
    THostInfo HostInfo(int majorVersion = 16, bool registeredForAllUsers = false) const;
};

}  // namespace sim
