/*
 * The floor of bench_startup: a program that loads ICU, SQLite and GLib and does nothing.
 *
 * It names one function of ICU's i18n library (where the date formatting lives): a program that
 * calls nothing of it is linked without it (--as-needed), and would leave out a library every
 * zon-common program loads. Built with ZON_FLOOR_WITHOUT_I18N, it is that smaller program, the
 * floor as it was first measured.
 */
#include <glib.h>
#include <sqlite3.h>
#include <unicode/udat.h>
#include <unicode/uversion.h>

int main(void)
{
	UVersionInfo icu;
	u_getVersion(icu);
#ifndef ZON_FLOOR_WITHOUT_I18N
	void* volatile i18n = (void*)&udat_open;
	if (!i18n)
		return 1;
#endif
	return sqlite3_libversion_number() > 0 && glib_major_version > 0 && icu[0] > 0 ? 0 : 1;
}
