#pragma once

#include "Vintrel/engine/ScanEngine.h"
#include "Vintrel/shell/ApplicationRequests.h"

#include <string>
#include <utility>
#include <vector>

namespace VintrelTests {

/// Requests that are noted; shortcuts are carried out where there is an engine, and answered at once where
/// there is none.
class RecordingRequests : public Vintrel::ApplicationRequests {
public:
    explicit RecordingRequests(Vintrel::ScanEngine* engine = nullptr) : m_engine(engine) {}

    std::vector<std::string> asked; ///< in order, with what came along
    QString token;                  ///< that came with the last activation
    std::vector<std::pair<std::string, std::string>> told;

    void activate(const QString& activationToken) override {
        asked.emplace_back("activate");
        token = activationToken;
    }

    void open(const std::vector<std::string>& urls) override {
        asked.emplace_back("open");
        asked.insert(asked.end(), urls.begin(), urls.end());
    }

    void perform(const Vintrel::AppShortcut& shortcut, const Vintrel::OnDialog& onDialog) override {
        asked.emplace_back(shortcut.identifier);
        if (m_engine != nullptr) {
            shortcut.perform(*m_engine, onDialog);
        } else {
            onDialog("done");
        }
    }

    void tell(const std::string& title, const std::string& text) override { told.emplace_back(title, text); }

private:
    Vintrel::ScanEngine* m_engine;
};

} // namespace VintrelTests
