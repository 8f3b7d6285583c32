#ifndef HVEXPORT_H
#define HVEXPORT_H

/* The SDK libraries are built with hidden default visibility; only what is
   marked here is part of their binary interface. */
#if defined(__GNUC__)
#define HVX_API __attribute__((visibility("default")))
#define HVC_API __attribute__((visibility("default")))
#else
#define HVX_API
#define HVC_API
#endif

#endif
