#include <obvista/widget_interface.h>

// Defined here so that only this library contains the type information, and a cast or a caught
// exception refers to the same class in the host and in every plugin.
WidgetInterface::~WidgetInterface() = default;
