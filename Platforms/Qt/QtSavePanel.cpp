#include "Platforms/Qt/QtSavePanel.hpp"

namespace QtPlatform {

class QtSavePanel::Dialogs {};

QtSavePanel::QtSavePanel()
    : dialogs_(std::make_unique<Dialogs>()) {
}

QtSavePanel::~QtSavePanel() = default;

void QtSavePanel::open(const std::string& /*suggestedName*/,
                       std::function<void(std::filesystem::path file)> /*chosen*/) {
}

} // namespace QtPlatform
