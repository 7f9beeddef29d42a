// The state that run controls and a plug-in agree on.

#include "host/plugin_run_controller.h"

namespace Vantor {

PluginRunController::PluginRunController(QObject* parent) : QObject(parent) {}

void PluginRunController::setRunning(bool nowRunning) {
    if (running == nowRunning)
        return;
    running = nowRunning;
    emit runningChanged(running);
}

void PluginRunController::requestStart() {
    if (!running)
        emit startRequested();
}

void PluginRunController::requestStop() {
    if (running)
        emit stopRequested();
}

} // namespace Vantor
