#include "InterfaceObserver.h"

InterfaceObserver::InterfaceObserver() : QObject(nullptr) {}

InterfaceObserver::~InterfaceObserver() = default;

void InterfaceObserver::InterfaceListChanged(Hvx::InterfacePtr interface,
                                             Hvx::UpdateTriggerType reason)
{
    emit InterfaceListChangedSignal(interface, reason);
}
