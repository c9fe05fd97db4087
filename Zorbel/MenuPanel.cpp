#include "Zorbel/MenuPanel.hpp"

#include "Zorbel/ShellWindows.hpp"
#include "Zorbel/Updates.hpp"
#include "ZorbelKit/Controls/Accessible.hpp"
#include "ZorbelKit/Controls/Buttons.hpp"
#include "ZorbelKit/Controls/Layouts.hpp"
#include "ZorbelKit/Controls/LiveView.hpp"
#include "ZorbelKit/Controls/Rule.hpp"
#include "ZorbelKit/Controls/ScrollView.hpp"
#include "ZorbelKit/Controls/Text.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Spice.hpp"
#include "ZorbelKit/Stall.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QHBoxLayout>
#include <QVBoxLayout>

#include <string>
#include <utility>
#include <vector>

namespace Zorbel {

using namespace ZorbelKit;

namespace {

constexpr int sectionPadding = 14;
constexpr int footerPadding = 12;

QWidget* makeSection(Spice& spice, QWidget* parent) {
    auto* section = new QWidget(parent);
    setAccessible(*section, QAccessible::Grouping, qString(spice.name()));
    QWidget* content = spice.menuSection().build(section);
    const auto* view = dynamic_cast<const LiveView*>(content);
    const int bleed = view ? view->bleed() : 0;
    auto* column = new QVBoxLayout(section);
    column->setContentsMargins(sectionPadding - bleed, sectionPadding, sectionPadding - bleed,
                               sectionPadding);
    column->setSpacing(8);
    QLabel* heading = makeText(qString(spice.name()), interfaceFont(11.5, QFont::Medium, 0.3), malaiDim);
    heading->setContentsMargins(bleed, 0, bleed, 0);
    column->addWidget(heading);
    if (content) {
        column->addWidget(content);
    }
    return section;
}

class MenuPanel final : public LiveView {
public:
    MenuPanel(Stall& stall, Updates& updates, Application& application, std::function<void()> openDashboard,
              QWidget* parent)
        : LiveView(stall, parent)
        , stall_(stall)
        , updates_(updates)
        , scroll_(new ScrollView(this)) {
        setAccessible(*this, QAccessible::Pane, "Zorbel panel");
        auto* column = makeColumn(this, 0);
        column->addWidget(scroll_, 1);
        column->addWidget(new Rule(Qt::Horizontal, this));
        column->addLayout(makeFooter(application, std::move(openDashboard)));
        rebuildSections();
        refresh();
    }

protected:
    void refresh() override {
        checkForUpdates_->setVisible(updates_.canCheck());
        if (steeping() != shown_) {
            rebuildSections();
        }
    }

    void showEvent(QShowEvent* event) override {
        updateChanges_ = updates_.observe([this] { refresh(); });
        LiveView::showEvent(event);
    }

    void hideEvent(QHideEvent* event) override {
        updateChanges_.reset();
        LiveView::hideEvent(event);
    }

private:
    QLayout* makeFooter(Application& application, std::function<void()> openDashboard) {
        auto* open = new BrassButton("Open Zorbel", this);
        connect(open, &QAbstractButton::clicked, this, std::move(openDashboard));
        checkForUpdates_ = new PlainButton("Check for updates", malaiDim, this);
        connect(checkForUpdates_, &QAbstractButton::clicked, this, [this, &application] {
            application.activate();
            updates_.checkForUpdates();
        });
        auto* quit = new PlainButton("Quit", malaiDim, this);
        connect(quit, &QAbstractButton::clicked, this, [&application] { application.terminate(); });

        auto* footer = new QHBoxLayout;
        footer->setContentsMargins(footerPadding, footerPadding, footerPadding, footerPadding);
        footer->setSpacing(4);
        footer->addWidget(open);
        footer->addStretch();
        footer->addWidget(checkForUpdates_);
        footer->addWidget(quit);
        return footer;
    }

    std::vector<std::string> steeping() const {
        std::vector<std::string> ids;
        for (const auto& spice : stall_.spices()) {
            if (spice->isEnabled()) {
                ids.push_back(spice->id());
            }
        }
        return ids;
    }

    void rebuildSections() {
        shown_ = steeping();
        auto* content = new QWidget;
        auto* column = makeColumn(content, 0);
        for (const std::string& id : shown_) {
            if (column->count() > 0) {
                column->addWidget(new Rule(Qt::Horizontal, content));
            }
            column->addWidget(makeSection(*stall_.spice(id), content));
        }
        if (shown_.empty()) {
            auto* nothing = makeText("Nothing is steeping.", TextStyle::callout, malaiDim, content);
            nothing->setContentsMargins(sectionPadding, sectionPadding, sectionPadding, sectionPadding);
            column->addWidget(nothing);
        }
        column->addStretch();
        scroll_->setWidget(content);
    }

    Stall& stall_;
    Updates& updates_;
    ScrollView* scroll_;
    PlainButton* checkForUpdates_ = nullptr;
    std::vector<std::string> shown_;
    Token updateChanges_;
};

} // namespace

AnyView menuPanelView(Stall& stall, Updates& updates, Application& application,
                      std::function<void()> openDashboard) {
    return AnyView([&, openDashboard = std::move(openDashboard)](QWidget* parent) -> QWidget* {
        return new MenuPanel(stall, updates, application, openDashboard, parent);
    });
}

} // namespace Zorbel
