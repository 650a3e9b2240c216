/*
 * WTimer.h - main-loop timers owned by the framework and handed out as weak pointers.
 *
 * A view that starts a timer rarely outlives it cleanly: the timer's handler may run after the
 * view is gone, or the view may be destroyed from inside the handler. So the framework keeps
 * every timer itself and gives the caller a WTimerWeakPtr. The caller may drop or destroy it at
 * any time; a pointer to a timer that has ended simply no longer locks.
 *
 * Contract:
 * - addTimer(interval, handler, data) calls handler(data) every `interval` seconds on the main
 *   loop until the handler returns false or the timer is destroyed. The first call comes one
 *   interval after adding.
 * - destroy() ends a timer: it never calls its handler again, and the handler (with whatever it
 *   captured) is released. Destroying an ended timer, or an empty pointer, does nothing.
 *   A handler may destroy its own timer; the timer ends when the handler returns.
 * - fire() runs the handler now, as if the interval had just elapsed: a false result ends the
 *   timer, a true one starts the next interval from now. Tests and "do it now" buttons use it.
 * - freeze()/thaw() hold and resume the countdown, keeping the time that was left.
 * - Timers end with the toolkit's main loop too (elm_shutdown()); pointers to them expire then.
 *
 * Ownership: the framework owns the timers. Threading: main-loop thread only.
 *
 * Example:
 *   WTimerWeakPtr timer = WTimer::addTimer(0.5, [obj](void*) {
 *       elm_atspi_component_highlight_grab(obj);
 *       return false;                      // once
 *   }, nullptr, "highlight");
 *   ...
 *   WTimer::destroy(timer);               // before it fired: it never will
 */
#ifndef _APP_TRELLIS_WTIMER_H_
#define _APP_TRELLIS_WTIMER_H_

#include <Ecore.h>

#include <functional>
#include <memory>
#include <string>

#include "WDefine.h"

namespace app_trellis {

class WTimer;
typedef std::weak_ptr<WTimer> WTimerWeakPtr;

class WAPP_TRELLIS_API WTimer {
public:
	using Handler = std::function<bool(void* data)>;

	// Returns an expired pointer when the main loop refuses the timer (interval below 0, no
	// handler, toolkit not running); that is logged.
	static WTimerWeakPtr addTimer(double interval, const Handler& handler, void* data = nullptr,
		const char* name = nullptr);
	// Ends the timer and empties `timer`.
	static void destroy(WTimerWeakPtr& timer);

	// The timers that have not ended yet.
	static size_t getCount();

	bool fire();   // false when the timer ended
	void freeze();
	void thaw();
	bool isFrozen() const;
	double getInterval() const;
	// Seconds until the next call (the time that was left, while frozen).
	double getPending() const;
	const std::string& getName() const;

	virtual ~WTimer();

private:
	WTimer(double interval, const Handler& handler, void* data, const char* name);
	WTimer(const WTimer&) = delete;
	WTimer& operator=(const WTimer&) = delete;

	static Eina_Bool _onTimerCb(void* data);
	static void _onTimerDelCb(void* data, const Efl_Event* event);
	bool _runHandler();
	void _end();

	Ecore_Timer* _timer;
	Handler _handler;
	void* _data;
	std::string _name;
	double _interval;
	bool _frozen;
	bool _inHandler;
	bool _endRequested;
};

}

#endif /* _APP_TRELLIS_WTIMER_H_ */
