/*
 * tizen_error.cpp - last-result slot and error texts shared by the platform APIs.
 */
#include "host_internal.h"

#include "app_preference.h"
#include "app_types.h"
#include "tizen_error.h"

namespace {
thread_local int t_lastResult = TIZEN_ERROR_NONE;
}

ZON_HOST_API int get_last_result(void)
{
	return t_lastResult;
}

ZON_HOST_API void set_last_result(int result)
{
	t_lastResult = result;
}

ZON_HOST_API char *get_error_message(int err_code)
{
	const char *text;
	switch (err_code) {
	case TIZEN_ERROR_NONE: text = "Successful"; break;
	case PREFERENCE_ERROR_NO_KEY: text = "Required key not available"; break;
	case APP_ERROR_INVALID_CONTEXT: text = "Invalid application context"; break;
	case TIZEN_ERROR_UNKNOWN: text = "Unknown error"; break;
	case TIZEN_ERROR_TIMED_OUT: text = "Time out"; break;
	case TIZEN_ERROR_NOT_SUPPORTED: text = "Not supported"; break;
	case TIZEN_ERROR_USER_NOT_CONSENTED: text = "Not Consented"; break;
	case TIZEN_ERROR_DEVICE_POLICY_RESTRICTION: text = "Device policy restriction"; break;
	default:
		// Generic codes are negated errno values.
		text = err_code < 0 && err_code > -4096 ? g_strerror(-err_code) : "Unknown error";
		break;
	}
	return const_cast<char *>(text);
}
