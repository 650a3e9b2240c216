#include "WTimer.h"

#include <algorithm>
#include <vector>

namespace app_trellis {

namespace {

// Never destroyed, like the id pool: a timer may be given back while static objects of the
// process are being torn down.
std::vector<std::shared_ptr<WTimer>>& registry()
{
	static auto* timers = new std::vector<std::shared_ptr<WTimer>>();
	return *timers;
}

std::shared_ptr<WTimer> find(const WTimer* timer)
{
	for (const auto& entry : registry()) {
		if (entry.get() == timer)
			return entry;
	}
	return nullptr;
}

}

WTimer::WTimer(double interval, const Handler& handler, void* data, const char* name)
	: _timer(nullptr), _handler(handler), _data(data), _name(name ? name : ""), _interval(interval),
	  _frozen(false), _inHandler(false), _endRequested(false)
{
}

WTimer::~WTimer()
{
	// Only reached with a live Ecore timer if the registry itself went away; the timer must not
	// call back into freed memory then.
	if (_timer) {
		efl_event_callback_del(_timer, EFL_EVENT_DEL, _onTimerDelCb, this);
		ecore_timer_del(_timer);
	}
}

WTimerWeakPtr WTimer::addTimer(double interval, const Handler& handler, void* data, const char* name)
{
	if (interval < 0.0 || !handler) {
		WTRELLIS_ERROR("invalid timer %s (interval %f, handler %s)", name ? name : "", interval,
			handler ? "set" : "empty");
		return WTimerWeakPtr();
	}
	std::shared_ptr<WTimer> timer(new WTimer(interval, handler, data, name));
	timer->_timer = ecore_timer_add(interval, _onTimerCb, timer.get());
	if (!timer->_timer) {
		WTRELLIS_ERROR("ecore_timer_add() failed for %s", timer->_name.c_str());
		return WTimerWeakPtr();
	}
	// Whoever deletes the Ecore timer (its handler's result, destroy(), the loop shutting down),
	// the timer leaves the registry the same way.
	efl_event_callback_add(timer->_timer, EFL_EVENT_DEL, _onTimerDelCb, timer.get());
	registry().push_back(timer);
	return timer;
}

void WTimer::destroy(WTimerWeakPtr& timer)
{
	std::shared_ptr<WTimer> self = timer.lock();
	timer.reset();
	if (!self)
		return;
	if (self->_inHandler) {
		// The Ecore timer is on the stack below; it ends when the handler returns.
		self->_endRequested = true;
		return;
	}
	self->_end();
}

size_t WTimer::getCount()
{
	return registry().size();
}

bool WTimer::fire()
{
	if (!_timer)
		return false;
	if (_inHandler)
		return true;
	std::shared_ptr<WTimer> keep = find(this);
	if (!_runHandler()) {
		_end();
		return false;
	}
	ecore_timer_reset(_timer);
	return true;
}

void WTimer::freeze()
{
	if (_timer && !_frozen) {
		ecore_timer_freeze(_timer);
		_frozen = true;
	}
}

void WTimer::thaw()
{
	if (_timer && _frozen) {
		ecore_timer_thaw(_timer);
		_frozen = false;
	}
}

bool WTimer::isFrozen() const
{
	return _frozen;
}

double WTimer::getInterval() const
{
	return _interval;
}

double WTimer::getPending() const
{
	return _timer ? ecore_timer_pending_get(_timer) : 0.0;
}

const std::string& WTimer::getName() const
{
	return _name;
}

Eina_Bool WTimer::_onTimerCb(void* data)
{
	WTimer* self = static_cast<WTimer*>(data);
	std::shared_ptr<WTimer> keep = find(self);
	if (!keep)
		return ECORE_CALLBACK_CANCEL;
	return self->_runHandler() ? ECORE_CALLBACK_RENEW : ECORE_CALLBACK_CANCEL;
}

void WTimer::_onTimerDelCb(void* data, const Efl_Event*)
{
	WTimer* self = static_cast<WTimer*>(data);
	self->_timer = nullptr;
	auto& timers = registry();
	auto it = std::find_if(timers.begin(), timers.end(),
		[self](const std::shared_ptr<WTimer>& entry) { return entry.get() == self; });
	if (it == timers.end())
		return;
	// Released after the erase, so that a handler which captured a WTimerWeakPtr of its own
	// timer finds it expired, never half-destroyed.
	std::shared_ptr<WTimer> last = std::move(*it);
	timers.erase(it);
}

bool WTimer::_runHandler()
{
	_inHandler = true;
	bool again = _handler(_data);
	_inHandler = false;
	return again && !_endRequested;
}

void WTimer::_end()
{
	if (_timer)
		ecore_timer_del(_timer);
}

}
