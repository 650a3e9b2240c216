#include "WSignalIdGenerator.h"

namespace app_trellis {

WSignalIdPool::WSignalIdPool(WSignal_ListenerId first, WSignal_ListenerId last)
	: _next(first), _last(last == 0 ? 1 : last)
{
	if (_next == 0 || _next > _last)
		_next = 1;
}

WSignal_ListenerId WSignalIdPool::generate()
{
	if (_inUse.size() >= _last)
		return 0;
	// Until the counter first wraps every candidate is fresh and the insert succeeds at once; the
	// set is what keeps long-lived ids from being handed out a second time after that.
	for (;;) {
		WSignal_ListenerId id = _next;
		_next = id >= _last ? 1 : id + 1;
		if (_inUse.insert(id).second)
			return id;
	}
}

void WSignalIdPool::release(WSignal_ListenerId id)
{
	_inUse.erase(id);
}

bool WSignalIdPool::isInUse(WSignal_ListenerId id) const
{
	return _inUse.count(id) != 0;
}

size_t WSignalIdPool::getInUseCount() const
{
	return _inUse.size();
}

namespace {

// Never destroyed: signals held in static objects give their ids back while the process exits,
// in an order no function-local static could be relied on to outlive.
WSignalIdPool& processPool()
{
	static WSignalIdPool* pool = new WSignalIdPool();
	return *pool;
}

}

WSignal_ListenerId WSignalIdGenerator::generate()
{
	return processPool().generate();
}

void WSignalIdGenerator::release(WSignal_ListenerId id)
{
	processPool().release(id);
}

}
