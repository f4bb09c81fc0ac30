/* Linkage of the device's C interface, usable from C11 and C++. */
#ifndef DHCP_PLATFORM_DECLS_H
#define DHCP_PLATFORM_DECLS_H

#ifdef __cplusplus
#define PLATFORM_BEGIN extern "C" {
#define PLATFORM_END }
#else
#define PLATFORM_BEGIN
#define PLATFORM_END
#endif

#endif
