#pragma once

#include "Zorbel/Host.hpp"
#include "ZorbelKit/Observable.hpp"

namespace Zorbel {

/// The platform's updater: it downloads, checks signatures and shows its own dialogues.
class UpdaterController {
public:
    virtual ~UpdaterController() = default;

    virtual bool automaticallyChecksForUpdates() const = 0;
    virtual void startUpdater() = 0;
    virtual void checkForUpdates() = 0;
};

/// Starts the updater where the build is configured for it, and says whether the user can check by hand.
class Updates : public ZorbelKit::Observable {
public:
    /// `controller` may be null: then there is nothing to start.
    Updates(Information information, UpdaterController* controller);

    /// Does nothing unless a feed address and a public key are both configured.
    void begin();

    bool canCheck() const { return canCheck_.get(); }
    void checkForUpdates();

private:
    Information information_;
    UpdaterController* controller_;
    ZorbelKit::Published<bool> canCheck_{*this, false};
    ZorbelKit::Published<bool> automatic_;
};

} // namespace Zorbel
