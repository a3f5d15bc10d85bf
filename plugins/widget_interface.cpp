#include "widget_interface.h"

// Defined here so that the type information lives in this library alone and a cast or a caught
// exception means the same class in the host and in every plugin.
WidgetInterface::~WidgetInterface() = default;
