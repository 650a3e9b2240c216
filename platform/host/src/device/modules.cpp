/*
 * modules.cpp - the registry behind ZON_HOST_MODULE and zon_host_reset().
 */
#include "host_internal.h"

#include <algorithm>
#include <cstring>

namespace zonhost {
namespace {

struct Module {
	const char *name;
	ResetRank rank;
	ResetFn reset;
};

// Function-local: modules register from their own static initialisers, in any order.
std::vector<Module> &registry()
{
	static std::vector<Module> modules;
	return modules;
}

} // namespace

bool registerModule(const char *name, ResetRank rank, ResetFn reset)
{
	std::vector<Module> &modules = registry();
	auto before = [](const Module &a, const Module &b) {
		return a.rank != b.rank ? a.rank < b.rank : strcmp(a.name, b.name) < 0;
	};
	Module module{name, rank, reset};
	modules.insert(std::upper_bound(modules.begin(), modules.end(), module, before), module);
	return true;
}

int resetModules()
{
	int live = 0;
	for (const Module &module : registry())
		live += module.reset();
	return live;
}

} // namespace zonhost

using namespace zonhost;

ZON_HOST_API size_t zon_host_module_count(void)
{
	return registry().size();
}

ZON_HOST_API const char *zon_host_module_name(size_t i)
{
	return i < registry().size() ? registry()[i].name : nullptr;
}
