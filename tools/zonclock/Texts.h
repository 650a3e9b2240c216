/*
 * Texts.h - zonclock's own words.
 *
 * Every phrase zonclock itself prints to a person goes through tr(), so that xgettext
 * (--keyword=tr) finds it and the "zonclock" catalogues translate it. Texts that come from the
 * library (city names, notices) stay in the library's own domain and are not wrapped here; field
 * names of machine-readable output (JSON keys, TSV headers) are never translated.
 */
#ifndef ZONCLOCK_TEXTS_H
#define ZONCLOCK_TEXTS_H

#include <libintl.h>

namespace zonclock {

constexpr const char* kOwnDomain = "zonclock";

// format_arg: a translated format is checked against its arguments like the English one.
__attribute__((format_arg(1))) inline const char* tr(const char* msgid)
{
	return dgettext(kOwnDomain, msgid);
}

// Marks a phrase of a static table for xgettext (--keyword=N_); whoever prints it calls tr(). The
// tables are built before the device's language is known, so they must not translate yet.
constexpr const char* N_(const char* msgid)
{
	return msgid;
}

} // namespace zonclock

#endif /* ZONCLOCK_TEXTS_H */
