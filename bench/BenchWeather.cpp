// What one weather refresh costs on the host, per call: a whole exchange with the agent stand-in
// (launch, time-out alarm re-armed, answer on the port, decoding, the rows updated, the callback),
// and the two cache paths that avoid it (a fresh entry answered, a stale one found out).
//
// The device is a fresh temporary root with Beijing in both lists, the agent answering at once.
#include <stdio.h>
#include <stdlib.h>

#include <filesystem>
#include <string>

#include <benchmark/benchmark.h>

#include <zon-host/zon_host.h>

#include "BenchDevice.h"
#include "ZonDBManager.h"
#include "ZonWeatherAgentHandler.h"

namespace {

const int kBeijing = 35;
const char kInstance[] = "bench-widget";
// The host keeps every launch for inspection; forget them now and then so the record does not
// become what is measured.
const int kLaunchesKept = 1024;

void agentRoundTrip(benchmark::State& state)
{
	ZonWeatherAgentHandler handler(_WIDGET_VIEW_WEATHER_PORT, kInstance);
	long answers = 0;
	handler.setReceiveWeatherDataFunc([&answers](ZonWeatherReplayData& data) {
		if (data.validity && data.cityId == kBeijing)
			++answers;
	});
	long iterations = 0;
	for (auto _ : state) {
		long before = answers;
		handler.requestWeatherData(kBeijing, true, false);
		while (answers == before) {
			if (zon_host_pump(16) == 0) {
				state.SkipWithError("the agent did not answer");
				return;
			}
		}
		if (++iterations % kLaunchesKept == 0)
			zon_host_launch_clear();
	}
	zon_host_launch_clear();
	state.SetItemsProcessed(answers);
}

void cacheHit(benchmark::State& state)
{
	ZonWeatherAgentHandler handler(_WIDGET_VIEW_WEATHER_PORT, kInstance);
	long answers = 0;
	handler.setReceiveWeatherDataFunc([&answers](ZonWeatherReplayData&) { ++answers; });
	// Stored by a real answer, so its stamp is on the cache's own clock.
	handler.requestWeatherData(kBeijing, true, false);
	while (answers == 0 && zon_host_pump(16) > 0) {
	}
	if (answers == 0) {
		state.SkipWithError("the agent did not answer");
		return;
	}
	long before = answers;
	for (auto _ : state)
		handler.requestWeatherData(kBeijing, false, false);
	if (answers - before != static_cast<long>(state.iterations()))
		state.SkipWithError("an entry was not answered from the cache");
	state.SetItemsProcessed(state.iterations());
}

void cacheStaleCheck(benchmark::State& state)
{
	ZonWeatherAgentHandler handler(_WIDGET_VIEW_WEATHER_PORT, kInstance);
	ZonDBManager::getInstance()->updateWeatherInfo(kBeijing, SUNNY, 20, true, 0);
	for (auto _ : state) {
		if (handler.checkWeatherDataInWeatherDatabase(kBeijing, false)) {
			state.SkipWithError("a stale entry was taken for fresh");
			return;
		}
	}
	state.SetItemsProcessed(state.iterations());
}

} // namespace

int main(int argc, char** argv)
{
	benchmark::Initialize(&argc, argv);
	if (benchmark::ReportUnrecognizedArguments(argc, argv))
		return 1;

	// The exchange logs a dozen lines per call; writing them is not what is measured.
	setenv("ZON_HOST_LOG", "/dev/null", 0);
	BenchDevice device;
	if (!device.open())
		return 1;
	zon_host_install_weather_agent(nullptr);
	zon_host_install_zonvista_service();
	ZonDBManager* db = ZonDBManager::getInstance();
	db->initialize();
	db->insert(kBeijing, "Beijing", false);
	db->insert(kBeijing, "Beijing", true);

	benchmark::RegisterBenchmark("ZonWeatherAgentHandler agent round trip", agentRoundTrip);
	benchmark::RegisterBenchmark("ZonWeatherAgentHandler cache hit", cacheHit);
	benchmark::RegisterBenchmark("ZonWeatherAgentHandler stale check", cacheStaleCheck);
	benchmark::RunSpecifiedBenchmarks();

	db->finalize();
	zon_host_reset();
	benchmark::Shutdown();
	return 0;
}
