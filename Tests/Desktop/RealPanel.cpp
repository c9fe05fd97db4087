#include "Tests/Desktop/RealPanel.hpp"

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>

namespace Desktop {

namespace {

std::string settings(RealPanel::Edge edge) {
    const char* place = edge == RealPanel::Edge::top ? "p=6;x=0;y=0" : "p=8;x=0;y=0";
    return std::string(R"(<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-panel" version="1.0">
  <property name="configver" type="int" value="2"/>
  <property name="panels" type="array">
    <value type="int" value="1"/>
    <property name="panel-1" type="empty">
      <property name="position" type="string" value=")") +
           place + R"("/>
      <property name="position-locked" type="bool" value="true"/>
      <property name="length" type="uint" value="100"/>
      <property name="size" type="uint" value="32"/>
      <property name="plugin-ids" type="array"><value type="int" value="1"/></property>
    </property>
  </property>
  <property name="plugins" type="empty">
    <property name="plugin-1" type="string" value="systray"/>
  </property>
</channel>
)";
}

} // namespace

RealPanel::RealPanel(Edge edge) {
    // Its settings service belongs to the session, whose folder this is.
    const char* configuration = std::getenv("XDG_CONFIG_HOME");
    if (!configuration) {
        throw std::runtime_error("no desktop session");
    }
    const auto folder = std::filesystem::path(configuration) / "xfce4/xfconf/xfce-perchannel-xml";
    std::filesystem::create_directories(folder);
    std::ofstream(folder / "xfce4-panel.xml") << settings(edge);
    program_ =
        std::make_unique<Program>(std::vector<std::string>{"xfce4-panel", "--disable-wm-check"}, unread());
}

bool RealPanel::end() {
    program_->send(SIGTERM);
    return program_->waitForEnd().has_value();
}

} // namespace Desktop
