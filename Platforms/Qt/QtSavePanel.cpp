#include "Platforms/Qt/QtSavePanel.hpp"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QLineEdit>
#include <QPointer>
#include <QSplitter>
#include <QStandardPaths>

#include <algorithm>
#include <utility>
#include <vector>

namespace QtPlatform {

namespace {

constexpr const char* suffix = ".png";
constexpr QSize dialogSize(760, 480); // points
constexpr int placesWidth = 150;      // of that, for the list of places

/// A folder's separator, and what the dialog reads as more than a character: quotes around several names, the
/// home folder's tilde, the dots of folders and hidden files.
QString fileName(const std::string& suggestion) {
    QString name = QString::fromStdString(suggestion);
    for (QChar& character : name) {
        if (character == '/' || character == '"' || character.category() == QChar::Other_Control) {
            character = '-';
        }
    }
    if (name.startsWith('~') || name.startsWith('.')) {
        name[0] = '-';
    }
    return name;
}

class SaveDialog : public QFileDialog {
public:
    SaveDialog(QWidget* parent, const QString& name)
        : QFileDialog(parent, "Save picture") {
        setAttribute(Qt::WA_DeleteOnClose);
        setOption(QFileDialog::DontUseNativeDialog);
        setAcceptMode(QFileDialog::AcceptSave);
        setFileMode(QFileDialog::AnyFile);
        setNameFilter("PNG picture (*.png)");
        const QString pictures = QStandardPaths::writableLocation(QStandardPaths::PicturesLocation);
        setDirectory(QFileInfo(pictures).isDir() ? pictures : QDir::homePath());
        selectFile(name);
        resize(dialogSize);
        if (auto* splitter = findChild<QSplitter*>("splitter")) {
            splitter->setSizes({placesWidth, dialogSize.width() - placesWidth});
        }
    }

    /// The name without its ending is selected: typing replaces it.
    void showInFront() {
        open();
        raise();
        activateWindow();
        if (auto* edit = nameEdit()) {
            edit->setFocus();
            const QString name = edit->text();
            const auto ending = name.endsWith(suffix, Qt::CaseInsensitive) ? QString(suffix).size() : 0;
            edit->setSelection(0, static_cast<int>(name.size() - ending));
        }
    }

protected:
    /// A file of another kind is not written: the ending is put right before the dialog looks whether there
    /// is such a file already.
    void accept() override {
        auto* edit = nameEdit();
        const QString typed = edit ? edit->text() : QString();
        const bool isHome = typed == "~" || typed.startsWith("~/");
        const QString named = isHome ? QDir::homePath() + typed.mid(1) : typed;
        const bool isFile = !named.isEmpty() && !named.endsWith('/') && !named.contains('"') &&
                            !QFileInfo(directory(), named).isDir();
        if (isFile && !named.endsWith(suffix, Qt::CaseInsensitive)) {
            edit->setText(named + suffix);
        }
        QFileDialog::accept();
    }

private:
    QLineEdit* nameEdit() const { return findChild<QLineEdit*>("fileNameEdit"); }
};

/// The window that the user is in, if it stays: a popover is closed by the dialog.
QWidget* windowInFront() {
    QWidget* window = QApplication::activeWindow();
    return window && window->windowType() == Qt::Window ? window : nullptr;
}

} // namespace

/// Those that are open; each goes with its answer, or with the window it belongs to.
class QtSavePanel::Dialogs {
public:
    Dialogs() = default;
    Dialogs(const Dialogs&) = delete;
    Dialogs& operator=(const Dialogs&) = delete;
    ~Dialogs() {
        for (const auto& dialog : open_) {
            const std::unique_ptr<SaveDialog> closed(dialog.data());
        }
    }

    void open(const QString& name, std::function<void(std::filesystem::path file)> chosen) {
        std::erase_if(open_, [](const auto& dialog) { return dialog.isNull(); });
        auto* dialog = new SaveDialog(windowInFront(), name);
        open_.emplace_back(dialog);
        QObject::connect(dialog, &QDialog::accepted, dialog, [dialog, chosen = std::move(chosen)] {
            const QStringList files = dialog->selectedFiles();
            if (!files.isEmpty()) {
                chosen(QFile::encodeName(files.front()).toStdString());
            }
        });
        dialog->showInFront();
    }

private:
    std::vector<QPointer<SaveDialog>> open_;
};

QtSavePanel::QtSavePanel()
    : dialogs_(std::make_unique<Dialogs>()) {
}

QtSavePanel::~QtSavePanel() = default;

void QtSavePanel::open(const std::string& suggestedName,
                       std::function<void(std::filesystem::path file)> chosen) {
    dialogs_->open(fileName(suggestedName), std::move(chosen));
}

} // namespace QtPlatform
