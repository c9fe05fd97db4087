#pragma once

#include "ZorbelKit/Host/SavePanel.hpp"

#include <memory>

namespace QtPlatform {

/// The toolkit's own file dialog, in the suite's colours. It stops nothing but the window it belongs to.
/// Needs a QApplication.
class QtSavePanel : public ZorbelKit::SavePanel {
public:
    QtSavePanel();
    ~QtSavePanel() override; // a panel that is still open is closed unanswered

    void open(const std::string& suggestedName,
              std::function<void(std::filesystem::path file)> chosen) override;

private:
    class Dialogs;
    std::unique_ptr<Dialogs> dialogs_;
};

} // namespace QtPlatform
