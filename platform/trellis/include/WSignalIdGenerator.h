/*
 * WSignalIdGenerator.h - listener ids of every WSignal in the process.
 *
 * Ids are unsigned 32-bit numbers. 0 is never issued: holders of an id use it to say "no listener
 * registered". An id is in use from generate() until it is given back with release(); no id in
 * use is issued again, even after the counter has gone round all 2^32 - 1 values, so a
 * long-lived listener cannot be shadowed by a newer one.
 *
 * Ids are issued in increasing order until the counter wraps; WSignal calls its listeners in id
 * order, which therefore is the order of adding.
 *
 * Threading: main-loop thread only, like the signals that use it.
 *
 * Example:
 *   WSignal_ListenerId id = app_trellis::WSignalIdGenerator::generate();
 *   ...
 *   app_trellis::WSignalIdGenerator::release(id);
 */
#ifndef _APP_TRELLIS_WSIGNAL_ID_GENERATOR_H_
#define _APP_TRELLIS_WSIGNAL_ID_GENERATOR_H_

#include <stddef.h>
#include <stdint.h>

#include <unordered_set>

#include "WDefine.h"

typedef uint32_t WSignal_ListenerId;

namespace app_trellis {

// One pool of ids, 1..last. The process-wide generator below is one of these over the whole
// 32-bit range; a smaller pool serves a caller that wants ids unique among its own only.
class WAPP_TRELLIS_API WSignalIdPool {
public:
	explicit WSignalIdPool(WSignal_ListenerId first = 1, WSignal_ListenerId last = UINT32_MAX);

	// 0 only when every id of the pool is in use, which the process-wide pool cannot reach.
	WSignal_ListenerId generate();
	// Giving back an id that is not in use (or 0) does nothing.
	void release(WSignal_ListenerId id);

	bool isInUse(WSignal_ListenerId id) const;
	size_t getInUseCount() const;

private:
	WSignal_ListenerId _next;
	WSignal_ListenerId _last;
	std::unordered_set<WSignal_ListenerId> _inUse;
};

class WAPP_TRELLIS_API WSignalIdGenerator {
public:
	static WSignal_ListenerId generate();
	static void release(WSignal_ListenerId id);

private:
	WSignalIdGenerator() = delete;
};

}

#endif /* _APP_TRELLIS_WSIGNAL_ID_GENERATOR_H_ */
