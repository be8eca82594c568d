#pragma once
// Symbols of the host services library that the plug-in and the application may use.
#define OZN3HOST_API __attribute__((visibility("default")))
