#include "sim/SimServices.h"

#include <algorithm>
#include <cctype>


namespace sim {

namespace {

void CheckFailure(const std::shared_ptr<TSimFailures>& failures, std::string_view member) {
    if (failures) failures->Check(member);
}

const char* AnswerName(platform::DialogAnswer a) {
    switch (a) {
        case platform::DialogAnswer::Yes: return "Yes";
        case platform::DialogAnswer::No: return "No";
        case platform::DialogAnswer::Cancel: return "Cancel";
    }
    return "?";
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Dialogs

TSimDialogs::TSimDialogs(std::shared_ptr<TSimFailures> failures) : failures_(std::move(failures)) {}

void TSimDialogs::ShowMessage(const std::string& text) {
    CheckFailure(failures_, "Dialogs.ShowMessage");
    records_.push_back({TSimDialogKind::Message, text, platform::DialogIcon::None, std::nullopt});
    if (OnShown) OnShown(records_.back());
}

platform::DialogAnswer TSimDialogs::AskYesNo(const std::string& text, platform::DialogIcon icon) {
    CheckFailure(failures_, "Dialogs.AskYesNo");
    return Ask(TSimDialogKind::YesNo, text, icon);
}

platform::DialogAnswer TSimDialogs::AskYesNoCancel(const std::string& text, platform::DialogIcon icon) {
    CheckFailure(failures_, "Dialogs.AskYesNoCancel");
    return Ask(TSimDialogKind::YesNoCancel, text, icon);
}

platform::DialogAnswer TSimDialogs::Ask(TSimDialogKind kind, const std::string& text,
                                        platform::DialogIcon icon) {
    records_.push_back({kind, text, icon, std::nullopt});
    if (answers_.empty()) {
        errors_.push_back("no answer queued for the question \"" + text + "\"");
        throw ESimError(errors_.back());
    }
    platform::DialogAnswer answer = answers_.front();
    answers_.pop_front();
    if (kind == TSimDialogKind::YesNo && answer == platform::DialogAnswer::Cancel) {
        errors_.push_back(std::string("the answer ") + AnswerName(answer) +
                          " does not fit the Yes/No question \"" + text + "\"");
        throw ESimError(errors_.back());
    }
    records_.back().answer = answer;
    if (OnShown) OnShown(records_.back());
    return answer;
}

std::vector<std::string> TSimDialogs::Texts() const {
    std::vector<std::string> out;
    out.reserve(records_.size());
    for (const auto& r : records_) out.push_back(r.text);
    return out;
}

void TSimDialogs::Clear() {
    answers_.clear();
    records_.clear();
    errors_.clear();
}

// ---------------------------------------------------------------------------------------------
// Registry

TSimRegistry::Key TSimRegistry::MakeKey(platform::RegistryRoot root, const std::string& keyPath,
                                        const std::string& valueName) {
    auto lower = [](std::string s) {
        std::transform(s.begin(), s.end(), s.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        return s;
    };
    std::string key = keyPath;
    while (!key.empty() && key.front() == '\\') key.erase(key.begin());
    while (!key.empty() && key.back() == '\\') key.pop_back();
    return {root, lower(key), lower(valueName)};
}

std::optional<uint32_t> TSimRegistry::ReadDword(platform::RegistryRoot root, const std::string& keyPath,
                                                const std::string& valueName) {
    CheckFailure(failures_, "Registry.ReadDword");
    auto it = values_.find(MakeKey(root, keyPath, valueName));
    if (it == values_.end()) return std::nullopt;
    return it->second;
}

void TSimRegistry::SetDword(platform::RegistryRoot root, const std::string& keyPath,
                            const std::string& valueName, uint32_t value) {
    values_[MakeKey(root, keyPath, valueName)] = value;
}

void TSimRegistry::DeleteValue(platform::RegistryRoot root, const std::string& keyPath,
                               const std::string& valueName) {
    values_.erase(MakeKey(root, keyPath, valueName));
}

// ---------------------------------------------------------------------------------------------
// Screen, help, module file, trace

platform::TRect TSimScreen::WorkArea() {
    CheckFailure(failures_, "Screen.WorkArea");
    return workArea_;
}

platform::TPoint TSimScreen::CursorPos() {
    CheckFailure(failures_, "Screen.CursorPos");
    return cursor_;
}

void TSimHelp::ShowContext(const std::string& helpFile, int context) {
    CheckFailure(failures_, "Help.ShowContext");
    calls_.push_back({helpFile, context});
    if (OnShow) OnShow(calls_.back());
}

std::string TSimModuleInfo::ModuleFileName() {
    CheckFailure(failures_, "ModuleInfo.ModuleFileName");
    return fileName_;
}

bool TSimTraceClient::Connect(const std::string& host, int port) noexcept {
    try {
        calls_.push_back({host, port});
    } catch (...) {
    }
    connected_ = listening_;
    return connected_;
}

// ---------------------------------------------------------------------------------------------
// The simulated machine

TSimHost::TSimHost(std::string moduleFileName)
    : Failures(std::make_shared<TSimFailures>()),
      Outlook(Failures),
      Dialogs(std::make_shared<TSimDialogs>(Failures)),
      Registry(std::make_shared<TSimRegistry>(Failures)),
      Screen(std::make_shared<TSimScreen>(Failures)),
      Help(std::make_shared<TSimHelp>(Failures)),
      Module(std::make_shared<TSimModuleInfo>(std::move(moduleFileName), Failures)),
      Trace(std::make_shared<TSimTraceClient>()),
      Excel(std::make_shared<TSimExcel>(Failures)) {}

platform::Services TSimHost::Services() const {
    return platform::Services{Dialogs, Registry, Screen, Help, Module, Trace, Excel};
}

THostInfo TSimHost::HostInfo(int majorVersion, bool registeredForAllUsers) const {
    THostInfo info;
    info.HostType = TadxHostApp::ohaOutlook;
    info.Application = Outlook.Application();
    info.MajorVersion = majorVersion;
    info.RegisteredForAllUsers = registeredForAllUsers;
    info.Services = Services();
    return info;
}

}  // namespace sim
