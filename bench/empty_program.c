/* The floor of bench_startup: a program that loads ICU, SQLite and GLib and does nothing. */
#include <glib.h>
#include <sqlite3.h>
#include <unicode/uversion.h>

int main(void)
{
	UVersionInfo icu;
	u_getVersion(icu);
	return sqlite3_libversion_number() > 0 && glib_major_version > 0 && icu[0] > 0 ? 0 : 1;
}
