/*
 * WSignal.h - a list of callbacks that emit() calls in turn, and that the callbacks themselves
 * may change while they are being called.
 *
 * Longer than our other headers: a class template lives whole in its header, and the re-entrancy
 * rules below take their bookkeeping with them.
 *
 * Contract:
 * - Every listener has an id from WSignalIdGenerator (never 0). emit() calls the listeners in
 *   ascending id order; ids grow with each addListener(), so this is the order of adding.
 * - A listener added during an emission does not receive the event being emitted; it receives
 *   the next one.
 * - A listener removed during an emission (by removeListener(), removeAllListeners() or the
 *   deletion of its object) is not called again, not even later in the same emission.
 * - Removing an id that is not registered, or that was added during the running emission and
 *   so is not active yet, logs "Already removed listener! =<id>" (tag "WAPP") and changes
 *   nothing: such a listener stays registered.
 * - A listener given an Evas_Object lives no longer than the object: deleting the object removes
 *   the listener, during an emission as well as outside one. Removing the listener or destroying
 *   the signal first takes the signal's deletion callback off the object again.
 * - A callback may emit the same signal again. Listeners added or removed inside such a nested
 *   emission are treated as if the outermost one were the only one: additions become active, and
 *   removed listeners are freed, when the outermost emission returns.
 * - A callback may destroy the signal it is called from. Nothing more is called, and the
 *   callables (with whatever they captured) are freed once the emission has unwound; the callback
 *   itself must not touch the signal after deleting it.
 * - A callback that throws ends the emission: the remaining listeners are not called, the
 *   bookkeeping above is still done, and the exception reaches the caller of emit(). An empty
 *   callable throws std::bad_function_call when its turn comes.
 *
 * Ownership: the signal owns copies of the callables. It does not own the Evas_Objects; it only
 * watches them. Not copyable: listeners and object callbacks point back at their signal.
 *
 * Threading: main-loop thread only (the toolkit's), no locking.
 *
 * Example:
 *   app_trellis::WSignal<void(int)> changed;
 *   WSignal_ListenerId id = changed.addListener([](int value) { printf("%d\n", value); });
 *   changed.addListener([label](int value) { updateLabel(label, value); }, label);
 *   changed.emit(42);                 // both run; deleting `label` drops the second one
 *   changed.removeListener(id);
 */
#ifndef _APP_TRELLIS_WSIGNAL_H_
#define _APP_TRELLIS_WSIGNAL_H_

#include <Evas.h>

#include <functional>
#include <list>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "WDefine.h"
#include "WSignalIdGenerator.h"
#include "WSignalObjectWatch.h"

namespace app_trellis {

template <typename Signature>
class WSignal;

template <typename... Args>
class WSignal<void(Args...)> {
public:
	using Callback = std::function<void(Args...)>;

	WSignal()
		: _guardFlag(false), _emission(nullptr)
	{
	}
	virtual ~WSignal();

	WSignal(const WSignal&) = delete;
	WSignal& operator=(const WSignal&) = delete;

	WSignal_ListenerId addListener(const Callback& cb) { return addListener(cb, nullptr); }
	// With a non-null obj, the listener is removed when obj is deleted.
	WSignal_ListenerId addListener(const Callback& cb, Evas_Object* obj);
	void removeListener(WSignal_ListenerId id);
	void removeAllListeners();

	void emit(Args... args);

	// Whether the next emission would call the listener (including one added during the running
	// emission, which removeListener() cannot reach yet).
	bool isValid(WSignal_ListenerId id) const;
	// The number of listeners the next emission would call.
	int getListenerCount() const;

protected:
	// One pass over the active listeners in id order, without the bookkeeping of emit(). An
	// override must only be reached through emit(): outside it, a callback that removes a listener
	// would erase under the loop.
	virtual void onEmit(Args... args);

private:
	struct ListenerInfo {
		ListenerInfo(const Callback& callback, Evas_Object* obj, WSignal* owner)
			: cb(callback), evasObj(obj), removed(false), id(WSignalIdGenerator::generate()), signal(owner)
		{
		}
		~ListenerInfo() { WSignalIdGenerator::release(id); }

		Callback cb;
		Evas_Object* evasObj;
		bool removed;
		WSignal_ListenerId id;
		WSignal* signal;
	};
	using ListenerPtr = std::unique_ptr<ListenerInfo>;

	// The outermost emission running on this signal, on emit()'s stack. It ends the emission when
	// emit() leaves, by return or by exception, unless the signal was destroyed meanwhile: then it
	// only frees the listeners the destructor handed over.
	struct Emission {
		explicit Emission(WSignal* owner)
			: signal(owner)
		{
		}
		~Emission()
		{
			if (!destroyed)
				signal->_endEmission();
		}

		WSignal* signal;
		bool destroyed = false;
		// Whether a listener was marked removed, so that an emission without removals ends without
		// a second walk over the map.
		bool anyRemoved = false;
		std::vector<ListenerPtr> orphans;
	};

	static void _listenerEvasObjectDelCb(void* data, Evas* e, Evas_Object* obj, void* eventInfo);
	void _bind(ListenerInfo& info);
	void _unbind(ListenerInfo& info);
	void _insert(ListenerPtr info);
	void _markRemoved(ListenerInfo& info);
	void _endEmission();

	bool _guardFlag;
	std::list<ListenerPtr> _listAddedListeners;
	std::map<WSignal_ListenerId, ListenerPtr> _mapListeners;
	Emission* _emission;
};

template <typename... Args>
WSignal<void(Args...)>::~WSignal()
{
	for (auto& entry : _mapListeners) {
		_unbind(*entry.second);
		if (_guardFlag)
			_markRemoved(*entry.second);
	}
	for (auto& info : _listAddedListeners)
		_unbind(*info);
	if (_emission) {
		// Destroyed from inside one of its callbacks: that callable, and those of any emission
		// further up the stack, are still running, so the emission frees them as it unwinds.
		_emission->destroyed = true;
		_emission->orphans.reserve(_mapListeners.size());
		for (auto& entry : _mapListeners)
			_emission->orphans.push_back(std::move(entry.second));
	}
}

template <typename... Args>
WSignal_ListenerId WSignal<void(Args...)>::addListener(const Callback& cb, Evas_Object* obj)
{
	ListenerPtr info(new ListenerInfo(cb, obj, this));
	ListenerInfo& added = *info;
	if (_guardFlag)
		_listAddedListeners.push_back(std::move(info));
	else
		_insert(std::move(info));
	// Watched from now on, also while it waits for the running emission to end: the object may be
	// deleted before that, and must not be touched afterwards.
	if (added.evasObj)
		_bind(added);
	return added.id;
}

template <typename... Args>
void WSignal<void(Args...)>::removeListener(WSignal_ListenerId id)
{
	auto it = _mapListeners.find(id);
	if (it == _mapListeners.end()) {
		WTRELLIS_ERROR("Already removed listener! =%d", id);
		return;
	}
	_unbind(*it->second);
	if (_guardFlag)
		_markRemoved(*it->second);
	else
		_mapListeners.erase(it);
}

template <typename... Args>
void WSignal<void(Args...)>::removeAllListeners()
{
	for (auto& entry : _mapListeners) {
		_unbind(*entry.second);
		if (_guardFlag)
			_markRemoved(*entry.second);
	}
	if (!_guardFlag)
		_mapListeners.clear();
	// Listeners waiting for the emission to end have never been called, so none of them is on the
	// stack and they can go at once.
	for (auto& info : _listAddedListeners)
		_unbind(*info);
	_listAddedListeners.clear();
}

template <typename... Args>
void WSignal<void(Args...)>::emit(Args... args)
{
	if (_guardFlag) {
		// Nested: the map must stay as it is under the loops further up the stack, so the
		// outermost emission does the bookkeeping when it ends.
		onEmit(args...);
		return;
	}
	Emission emission(this);
	_emission = &emission;
	_guardFlag = true;
	onEmit(args...);
}

template <typename... Args>
void WSignal<void(Args...)>::onEmit(Args... args)
{
	// Under the guard nothing is erased from or inserted into the map, so the iterator survives
	// every callback; only the signal's own destruction does not, and ends the loop.
	Emission* emission = _emission;
	for (auto it = _mapListeners.begin(); it != _mapListeners.end(); ++it) {
		ListenerInfo& info = *it->second;
		if (info.removed)
			continue;
		info.cb(args...);
		if (emission && emission->destroyed)
			return;
	}
}

template <typename... Args>
bool WSignal<void(Args...)>::isValid(WSignal_ListenerId id) const
{
	if (id == 0)
		return false;
	auto it = _mapListeners.find(id);
	if (it != _mapListeners.end())
		return !it->second->removed;
	for (const auto& info : _listAddedListeners) {
		if (info->id == id)
			return !info->removed;
	}
	return false;
}

template <typename... Args>
int WSignal<void(Args...)>::getListenerCount() const
{
	int count = 0;
	for (const auto& entry : _mapListeners)
		count += entry.second->removed ? 0 : 1;
	for (const auto& info : _listAddedListeners)
		count += info->removed ? 0 : 1;
	return count;
}

template <typename... Args>
void WSignal<void(Args...)>::_listenerEvasObjectDelCb(void* data, Evas*, Evas_Object*, void*)
{
	ListenerInfo* info = static_cast<ListenerInfo*>(data);
	WSignal* self = info->signal;
	// The toolkit drops the object's callbacks itself; there is nothing to unregister any more.
	info->evasObj = nullptr;
	if (self->_guardFlag) {
		self->_markRemoved(*info);
		return;
	}
	auto it = self->_mapListeners.find(info->id);
	if (info->id != 0 && it != self->_mapListeners.end() && it->second.get() == info)
		self->_mapListeners.erase(it);
}

template <typename... Args>
void WSignal<void(Args...)>::_bind(ListenerInfo& info)
{
	WSignalObjectWatch::add(info.evasObj, _listenerEvasObjectDelCb, &info);
}

template <typename... Args>
void WSignal<void(Args...)>::_unbind(ListenerInfo& info)
{
	if (!info.evasObj)
		return;
	WSignalObjectWatch::del(info.evasObj, _listenerEvasObjectDelCb, &info);
	info.evasObj = nullptr;
}

template <typename... Args>
void WSignal<void(Args...)>::_insert(ListenerPtr info)
{
	ListenerPtr& slot = _mapListeners[info->id];
	if (slot) {
		// Unreachable with ids from the generator. The entry being replaced must not give back
		// the id its successor now holds.
		_unbind(*slot);
		slot->id = 0;
	}
	slot = std::move(info);
}

template <typename... Args>
void WSignal<void(Args...)>::_markRemoved(ListenerInfo& info)
{
	info.removed = true;
	if (_emission)
		_emission->anyRemoved = true;
}

template <typename... Args>
void WSignal<void(Args...)>::_endEmission()
{
	bool anyRemoved = _emission->anyRemoved;
	_emission = nullptr;
	_guardFlag = false;
	for (auto it = _mapListeners.begin(); anyRemoved && it != _mapListeners.end();) {
		if (it->second->removed) {
			_unbind(*it->second);
			it = _mapListeners.erase(it);
		} else {
			++it;
		}
	}
	if (_listAddedListeners.empty())
		return;
	std::list<ListenerPtr> added;
	added.swap(_listAddedListeners);
	for (auto& info : added) {
		// Removed while waiting: its object was deleted before the listener ever became active.
		if (info->removed) {
			_unbind(*info);
			continue;
		}
		_insert(std::move(info));
	}
}

}

#endif /* _APP_TRELLIS_WSIGNAL_H_ */
