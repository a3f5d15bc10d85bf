#include "example_plugin.h"

#include "example_widget.h"
#include "robot_link.h"

#include <memory>
#include <utility>

ExamplePlugin::~ExamplePlugin() {
    // There is one root object for each library, so all of the library's links are its own.
    RobotLink::closeAll();
}

QWidget* ExamplePlugin::createWidget(QWidget* parent, const std::string& ip, int port,
                                     const std::string& /*mediaFolder*/) {
    auto link = std::make_unique<RobotLink>(ip, port, brokerPort);
    return new ExampleWidget(std::move(link), this, parent);
}
