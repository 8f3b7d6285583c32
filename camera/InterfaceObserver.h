#pragma once

#include "HvxMetaTypes.h"

#include <Hvx/IInterfaceListObserver.h>

#include <QObject>

// Turns the SDK's interface list callbacks (SDK notification thread) into a
// signal, whether or not anyone listens.
class InterfaceObserver : public QObject, public Hvx::IInterfaceListObserver
{
    Q_OBJECT

public:
    InterfaceObserver();
    ~InterfaceObserver() override;

    void InterfaceListChanged(Hvx::InterfacePtr interface, Hvx::UpdateTriggerType reason) override;

signals:
    void InterfaceListChangedSignal(Hvx::InterfacePtr pInterface, Hvx::UpdateTriggerType reason);
};
