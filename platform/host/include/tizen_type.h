/*
 * tizen_type.h - common type helpers of the platform's C APIs.
 */
#ifndef __TIZEN_TYPE_H__
#define __TIZEN_TYPE_H__

#define EXPORT_API __attribute__((visibility("default")))

#ifndef DEPRECATED
#define DEPRECATED __attribute__((deprecated))
#endif

#endif /* __TIZEN_TYPE_H__ */
