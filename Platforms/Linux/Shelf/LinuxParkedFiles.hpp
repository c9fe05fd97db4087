#pragma once

#include "Ledgra/ParkedFiles.hpp"
#include "Platforms/Linux/Shelf/DiskQuestions.hpp"
#include "ZorbelKit/Forward.hpp"
#include "ZorbelKit/Lifetime.hpp"
#include "ZorbelKit/Token.hpp"

#include <functional>
#include <optional>

namespace Linux {

/// Icons by the freedesktop MIME data and thumbnails by its thumbnail folder, looked up off the main thread.
/// Main thread only.
class LinuxParkedFiles : public Ledgra::ParkedFiles {
public:
    /// What a disk is asked, on any thread, for however long it takes.
    struct Disk {
        std::function<std::optional<Ledgra::FileIcon::Look>(const std::filesystem::path& file)> look;
        std::function<std::int64_t(const std::filesystem::path& file)> size;
        std::function<bool(const std::filesystem::path& file)> has;
    };

    static Disk realDisk();

    explicit LinuxParkedFiles(ZorbelKit::MainLoop& loop, Disk disk = realDisk());
    ~LinuxParkedFiles() override;

    std::shared_ptr<const Ledgra::FileIcon> icon(const std::filesystem::path& file) override;
    std::int64_t totalBytes(const std::vector<std::filesystem::path>& files) const override;
    void look(const std::filesystem::path& file, std::function<void(bool isThere)> answer) override;

    int threads() const { return looks_.threads() + sizes_.threads(); }

private:
    class Way;

    void ask(const std::filesystem::path& file, std::function<void()> question, DiskQuestions::Order order);
    void goOn();

    ZorbelKit::MainLoop& loop_;
    const Disk disk_;
    const std::shared_ptr<Way> way_;
    ZorbelKit::Token waiting_; // until those that run may be overdue
    bool isWaiting_ = false;
    ZorbelKit::Lifetime lifetime_;
    DiskQuestions looks_;
    mutable DiskQuestions sizes_;
};

} // namespace Linux
