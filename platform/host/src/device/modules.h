/*
 * modules.h - the registry of the host's modules with per-device state. Not installed.
 *
 * A module declares its reset where it lives, once, at namespace scope of its own .cpp:
 *   ZON_HOST_MODULE("vconf", zonhost::ResetRank::State, vconfReset);
 * zon_host_reset() then calls every registered reset in rank order and sums what they return:
 * the live registrations (change callbacks, message ports, cloud callbacks) the module still
 * held, which an application should have undone itself. Nothing else lists the modules.
 *
 * Process state that an application still holds across a reset on the real device (usage-log
 * handles, package information, theme tables, toolkit objects) is not a module here.
 *
 * Registration runs during static initialisation, in whatever order the linker chose; the
 * registry is built on first use, so it exists before the first module asks for it.
 * Threading: the main-loop thread only, like the rest of the host.
 */
#ifndef ZON_HOST_MODULES_H
#define ZON_HOST_MODULES_H

namespace zonhost {

// When a module resets, relative to the others. Modules of one rank must not depend on each
// other; they reset in name order, so the order is the same in every link.
enum class ResetRank {
	// Pending main-loop deliveries go first: nothing queued by the old device can run later.
	Deliveries,
	// Registrations, stores, applications, services.
	State,
	// After State, so that a module's reset can still call a platform function unhindered.
	Faults,
	// After every module that may log while it resets: those lines never reach the new capture.
	Log,
	// The device root and application id last: a reset above may still need the old device.
	Device,
};

// A reset drops the module's state and returns how many live registrations it dropped.
using ResetFn = int (*)();

__attribute__((visibility("default"))) bool registerModule(const char *name, ResetRank rank, ResetFn reset);

// Resets every module in order; the sum of their live registrations.
int resetModules();

} // namespace zonhost

// One source may register more than one module, hence a variable per line.
#define ZON_HOST_MODULE(name, rank, reset) ZON_HOST_MODULE_AT_(__LINE__, name, rank, reset)
#define ZON_HOST_MODULE_AT_(line, name, rank, reset) ZON_HOST_MODULE_VAR_(line, name, rank, reset)
#define ZON_HOST_MODULE_VAR_(line, name, rank, reset) \
	static const bool zonHostModule##line##_ [[maybe_unused]] = zonhost::registerModule(name, rank, reset)

#endif // ZON_HOST_MODULES_H
