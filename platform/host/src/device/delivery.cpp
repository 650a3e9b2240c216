/*
 * delivery.cpp - asynchronous deliveries on GLib's default main context.
 *
 * The device's services tell an application about changes through its main loop, never from
 * inside the call that made the change; callers rely on that (a callback may set the value
 * again, or unregister itself). Each delivery is a GSource owned by the context; the pending
 * set lets a registration cancel what is still queued for it.
 */
#include "host_internal.h"

#include <unordered_set>

namespace zonhost {
namespace {

struct Delivery {
	Serial owner;
	std::function<void()> fn;
	guint id;
};

std::unordered_set<Delivery *> g_pending;
Serial g_nextSerial = 1;

gboolean dispatchDelivery(gpointer data)
{
	auto *delivery = static_cast<Delivery *>(data);
	// No longer cancellable: a callback that unregisters itself must not destroy the source
	// that is running it.
	g_pending.erase(delivery);
	delivery->fn();
	return G_SOURCE_REMOVE;
}

void destroyDelivery(gpointer data)
{
	auto *delivery = static_cast<Delivery *>(data);
	g_pending.erase(delivery);
	delete delivery;
}

void destroyWhere(const std::function<bool(const Delivery *)> &match)
{
	std::vector<guint> ids;
	for (const Delivery *d : g_pending) {
		if (match(d))
			ids.push_back(d->id);
	}
	for (guint id : ids) {
		if (GSource *source = g_main_context_find_source_by_id(nullptr, id))
			g_source_destroy(source);
	}
}

} // namespace

Serial newSerial()
{
	return g_nextSerial++;
}

void deliverLater(Serial owner, std::function<void()> fn)
{
	auto *delivery = new Delivery{owner, std::move(fn), 0};
	g_pending.insert(delivery);
	// Default priority, like the I/O watches that carry such notifications on the device, so
	// that deliveries keep their order with other main-loop events.
	GSource *source = g_idle_source_new();
	g_source_set_priority(source, G_PRIORITY_DEFAULT);
	g_source_set_name(source, "zon-host delivery");
	g_source_set_callback(source, dispatchDelivery, delivery, destroyDelivery);
	delivery->id = g_source_attach(source, nullptr);
	g_source_unref(source);
}

void cancelDeliveries(Serial owner)
{
	destroyWhere([owner](const Delivery *d) { return d->owner == owner; });
}

ZON_HOST_MODULE("delivery", ResetRank::Deliveries, [] {
	destroyWhere([](const Delivery *) { return true; });
	return 0;
});

} // namespace zonhost
