#pragma once

#include "DeviceDirectory.h"

#include <string>
#include <vector>

namespace hvaravis {

// A USB3 Vision device this user may not open. Aravis leaves such a device
// out of its list with a warning only; the camera list shows it as not
// accessible instead, so the operator learns that a udev rule is missing.
struct UsbDeniedDevice
{
    std::string location; // "<bus>-<port>.<port>...", as the kernel names it
    std::string vendor;   // from sysfs, which anyone may read; else "USB <vid>"
    std::string model;    // else "USB3 Vision device <vid>:<pid>"
    std::string serialNumber;
};

// Enumerates the USB devices with the USB3 Vision class codes through
// libusb and returns those that libusb may not open. Empty when libusb
// cannot start or no such device is plugged in.
std::vector<UsbDeniedDevice> FindDeniedUsbVisionDevices();

// How the module lists such a device: under the ID Aravis gives it once the
// user may open it (where sysfs tells its strings), not accessible.
Sighting SightingOf(const UsbDeniedDevice& device);

// Whether a device with these codes is a USB3 Vision device: the
// miscellaneous device class with an interface association, and an
// interface of class 0xEF subclass 0x05 protocol 0 (device control).
struct UsbInterfaceCodes
{
    int interfaceClass;
    int subclass;
    int protocol;
};
bool IsUsbVisionDevice(int deviceClass, int deviceSubclass, int deviceProtocol,
                       const std::vector<UsbInterfaceCodes>& interfaces);

} // namespace hvaravis
