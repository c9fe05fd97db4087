#include "Platforms/Linux/Storage/OrderedWalk.hpp"

#include "Platforms/Linux/Storage/FolderTrail.hpp"

#include <algorithm>
#include <memory>
#include <utility>

namespace Linux {

namespace {

// Of a folder that holds more names, so many are sorted at a time: memory stays small.
constexpr std::size_t namesAtATime = 32'768;

class OrderedWalk {
public:
    OrderedWalk(FolderTrail::Branch top, Mount mount, const std::function<Step(const OrderedItem&)>& visit)
        : trail_(std::move(top), mount)
        , mount_(mount)
        , visit_(visit) {}

    void run(int top, const std::atomic<bool>& isStopped) {
        std::optional<int> folder = top;
        while (folder && !isStopped && showFolder(*folder)) {
            folder = trail_.enterNext();
        }
    }

private:
    /// False where the walk is over.
    bool showFolder(int folder) {
        std::string last;
        for (bool hasMore = true; hasMore;) {
            const auto found = reader_.namesAfter(last, folder, namesAtATime, FolderReader::Dotted::skip);
            if (!found) {
                break;
            }
            for (const std::string& name : found->names) {
                if (!show(folder, name)) {
                    return false;
                }
            }
            hasMore = found->isCut;
            last = hasMore ? found->names.back() : "";
        }
        std::ranges::reverse(trail_.waiting());
        return true;
    }

    bool show(int folder, const std::string& name) {
        auto status = look(folder, name.c_str());
        if (status && status->mount != mount_) {
            status.reset();
        }
        const Step step = visit_({.folder = trail_.path(), .name = name, .status = status});
        if (step == Step::enter && status && status->kind == ItemKind::folder) {
            trail_.waiting().push_back(name);
        }
        return step != Step::stop;
    }

    FolderTrail trail_;
    Mount mount_;
    const std::function<Step(const OrderedItem&)>& visit_;
    FolderReader reader_;
};

} // namespace

bool walkInOrder(const std::filesystem::path& root, const std::function<Step(const OrderedItem&)>& visit,
                 const std::atomic<bool>& isStopped) {
    auto start = openRoot(root);
    if (!start || !start->folder) {
        return false;
    }
    const int top = start->folder.get();
    const auto folder = std::make_shared<const FileHandle>(std::move(start->folder));
    OrderedWalk({.folder = folder, .names = {}, .depth = 0}, start->status.mount, visit).run(top, isStopped);
    return true;
}

} // namespace Linux
