#include "UsbVisionProbe.h"

#include <libusb.h>

#include <cstdio>
#include <fstream>

namespace hvaravis {

namespace {

std::string SysfsText(const std::string& location, const char* attribute)
{
    std::ifstream file("/sys/bus/usb/devices/" + location + "/" + attribute);
    std::string text;
    std::getline(file, text);
    return text;
}

std::string Location(libusb_device* device)
{
    uint8_t ports[8];
    const int count = libusb_get_port_numbers(device, ports, sizeof ports);
    std::string location = std::to_string(libusb_get_bus_number(device));
    for (int i = 0; i < count; ++i)
        location += (i == 0 ? "-" : ".") + std::to_string(ports[i]);
    return location;
}

std::vector<UsbInterfaceCodes> InterfaceCodes(libusb_device* device)
{
    std::vector<UsbInterfaceCodes> codes;
    libusb_config_descriptor* config = nullptr;
    if (libusb_get_config_descriptor(device, 0, &config) != LIBUSB_SUCCESS)
        return codes;
    for (int i = 0; i < config->bNumInterfaces; ++i) {
        const libusb_interface& interface = config->interface[i];
        for (int j = 0; j < interface.num_altsetting; ++j) {
            const libusb_interface_descriptor& d = interface.altsetting[j];
            codes.push_back({d.bInterfaceClass, d.bInterfaceSubClass, d.bInterfaceProtocol});
        }
    }
    libusb_free_config_descriptor(config);
    return codes;
}

} // namespace

Sighting SightingOf(const UsbDeniedDevice& device)
{
    Sighting sighting;
    Hvx::Tl::DeviceInfo& info = sighting.info;
    info.id = device.serialNumber.empty()
                  ? "usb-" + device.location
                  : DeviceId(device.vendor, device.model, device.serialNumber);
    info.interfaceId = "USB3Vision";
    info.model = device.model;
    info.vendor = device.vendor;
    info.serialNumber = device.serialNumber;
    info.type = HvTransportLayerTypeU3V;
    info.permittedAccess = HvAccessModeNone;
    sighting.location.kind = DeviceLocation::Kind::Denied;
    return sighting;
}

bool IsUsbVisionDevice(int deviceClass, int deviceSubclass, int deviceProtocol,
                       const std::vector<UsbInterfaceCodes>& interfaces)
{
    if (deviceClass != 0xEF || deviceSubclass != 0x02 || deviceProtocol != 0x01)
        return false;
    for (const UsbInterfaceCodes& codes : interfaces)
        if (codes.interfaceClass == 0xEF && codes.subclass == 0x05 && codes.protocol == 0x00)
            return true;
    return false;
}

std::vector<UsbDeniedDevice> FindDeniedUsbVisionDevices()
{
    std::vector<UsbDeniedDevice> denied;
    libusb_context* context = nullptr;
    if (libusb_init(&context) != LIBUSB_SUCCESS)
        return denied;
    libusb_device** devices = nullptr;
    const ssize_t count = libusb_get_device_list(context, &devices);
    for (ssize_t i = 0; i < count; ++i) {
        libusb_device_descriptor descriptor{};
        if (libusb_get_device_descriptor(devices[i], &descriptor) != LIBUSB_SUCCESS ||
            !IsUsbVisionDevice(descriptor.bDeviceClass, descriptor.bDeviceSubClass,
                               descriptor.bDeviceProtocol, InterfaceCodes(devices[i])))
            continue;
        libusb_device_handle* handle = nullptr;
        const int opened = libusb_open(devices[i], &handle);
        if (opened == LIBUSB_SUCCESS) {
            libusb_close(handle); // Aravis lists it
            continue;
        }
        if (opened != LIBUSB_ERROR_ACCESS)
            continue;
        char ids[10];
        std::snprintf(ids, sizeof ids, "%04x:%04x", descriptor.idVendor, descriptor.idProduct);
        UsbDeniedDevice device;
        device.location = Location(devices[i]);
        device.vendor = SysfsText(device.location, "manufacturer");
        device.model = SysfsText(device.location, "product");
        device.serialNumber = SysfsText(device.location, "serial");
        if (device.vendor.empty())
            device.vendor = "USB " + std::string(ids, 4);
        if (device.model.empty())
            device.model = "USB3 Vision device " + std::string(ids);
        denied.push_back(device);
    }
    if (count >= 0)
        libusb_free_device_list(devices, 1);
    libusb_exit(context);
    return denied;
}

} // namespace hvaravis
