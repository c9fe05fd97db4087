#include "Platforms/Linux/Storage/LinuxFileManager.hpp"
#include "Platforms/Linux/TerminationSignals.hpp"
#include "Platforms/Qt/QtMainLoop.hpp"

#include <QGuiApplication>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <vector>

/// A program that shows the files of its command line in the file manager, says after how many milliseconds
/// it could go on, and stays until it is asked to end.
int main(int argumentCount, char** arguments) {
    const std::vector<std::filesystem::path> files(arguments + 1, arguments + argumentCount);
    QGuiApplication application(argumentCount, arguments);
    QtPlatform::QtMainLoop loop;
    Linux::LinuxFileManager fileManager(loop, Linux::Trash("/nowhere", "/nowhere"));
    const Linux::TerminationSignals signals([] { QCoreApplication::quit(); }, [] {});

    const auto start = std::chrono::steady_clock::now();
    fileManager.activateFileViewerSelecting(files);
    const auto taken = std::chrono::steady_clock::now() - start;
    std::printf("%d\n", static_cast<int>(taken / std::chrono::milliseconds(1)));
    std::fflush(stdout);
    return QCoreApplication::exec();
}
