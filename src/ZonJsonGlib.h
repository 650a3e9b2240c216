/*
 * ZonJsonGlib.h - JSON-GLib loaded when JSON is first used, not when a program starts. Internal
 * to the library: not installed, not part of any class's contract.
 *
 * JSON-GLib brings GObject, GIO and the system libraries GIO needs (mount, blkid, selinux, ffi,
 * zlib): linked as a dependency, they are mapped and relocated at every start of every program
 * that links zon-common, which costs more than a clock view's own work, while most starts (the
 * clock face, the widget's data path, a clock view) never touch JSON. So zon-common does not
 * name the library as a dependency: ZonJsonGlib.cpp defines the JSON-GLib functions the library
 * calls, each of which opens the library once (dlopen) and calls the real function. Callers keep
 * writing json_parser_new() and JSON-GLib's macros; nothing they see differs.
 *
 * The package depends on JSON-GLib as before. Should it be missing all the same, the first JSON
 * call logs why and ends the process, as the dynamic loader would have refused to start it.
 *
 * The forwarders are internal to the library (the export map keeps them out of its ABI), so they
 * never stand in for JSON-GLib in a program. A program that links JSON-GLib itself gets the same
 * library: dlopen() finds it already loaded. zonclock keeps forwarders of its own
 * (tools/zonclock/JsonOnDemand.cpp).
 *
 * Threading: the first call resolves under the C++ runtime's static-initialisation guard, so
 * calls from several threads are safe, as JSON-GLib's own are.
 */
#ifndef ZON_JSON_GLIB_H
#define ZON_JSON_GLIB_H

class ZonJsonGlib {
public:
	// The address of JSON-GLib's (or its GObject's) function `name`; never null.
	static void* symbol(const char* name);
};

#endif /* ZON_JSON_GLIB_H */
