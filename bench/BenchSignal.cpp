// What WSignal's re-entrancy rules cost, beside the floor: a plain loop over a vector of
// std::function, which calls the same callables and keeps no rules at all.
//
// Emission to 1, 10 and 100 listeners; adding and removing one listener beside 0 or 100 others
// (the id generator and the map at work); and an emission in which one listener removes itself
// and adds a fresh one, which is what a view that re-subscribes on every event does. Each
// benchmark is followed by its floor, so their ratio reads straight off one run.
#include <functional>
#include <vector>

#include <benchmark/benchmark.h>

#include <WSignal.h>

namespace {

using Signal = app_trellis::WSignal<void(int)>;

long gCalls = 0;

void listener(int event)
{
	gCalls += event;
	benchmark::DoNotOptimize(gCalls);
}

void signalEmit(benchmark::State& state)
{
	Signal signal;
	for (int64_t i = 0; i < state.range(0); ++i)
		signal.addListener(listener);
	for (auto _ : state)
		signal.emit(1);
	state.SetItemsProcessed(state.iterations() * state.range(0));
}

void functionLoop(benchmark::State& state)
{
	std::vector<std::function<void(int)>> listeners(state.range(0), listener);
	for (auto _ : state) {
		for (auto& cb : listeners)
			cb(1);
	}
	state.SetItemsProcessed(state.iterations() * state.range(0));
}

void signalAddRemove(benchmark::State& state)
{
	Signal signal;
	for (int64_t i = 0; i < state.range(0); ++i)
		signal.addListener(listener);
	for (auto _ : state)
		signal.removeListener(signal.addListener(listener));
}

void functionPushPop(benchmark::State& state)
{
	std::vector<std::function<void(int)>> listeners(state.range(0), listener);
	for (auto _ : state) {
		listeners.emplace_back(listener);
		listeners.pop_back();
	}
}

void signalEmitWithResubscribe(benchmark::State& state)
{
	Signal signal;
	for (int64_t i = 1; i < state.range(0); ++i)
		signal.addListener(listener);
	WSignal_ListenerId current = 0;
	std::function<void(int)> resubscribe = [&](int event) {
		listener(event);
		signal.removeListener(current);
		current = signal.addListener(resubscribe);
	};
	current = signal.addListener(resubscribe);
	for (auto _ : state)
		signal.emit(1);
	state.SetItemsProcessed(state.iterations() * state.range(0));
}

// The floor of the above: the same calls, and one callable stored and dropped.
void functionLoopWithPushPop(benchmark::State& state)
{
	std::vector<std::function<void(int)>> listeners(state.range(0), listener);
	for (auto _ : state) {
		for (auto& cb : listeners)
			cb(1);
		listeners.emplace_back(listener);
		listeners.pop_back();
	}
	state.SetItemsProcessed(state.iterations() * state.range(0));
}

}

BENCHMARK(signalEmit)->Arg(1);
BENCHMARK(functionLoop)->Arg(1);
BENCHMARK(signalEmit)->Arg(10);
BENCHMARK(functionLoop)->Arg(10);
BENCHMARK(signalEmit)->Arg(100);
BENCHMARK(functionLoop)->Arg(100);
BENCHMARK(signalAddRemove)->Arg(0);
BENCHMARK(functionPushPop)->Arg(0);
BENCHMARK(signalAddRemove)->Arg(100);
BENCHMARK(functionPushPop)->Arg(100);
BENCHMARK(signalEmitWithResubscribe)->Arg(10);
BENCHMARK(functionLoopWithPushPop)->Arg(10);

BENCHMARK_MAIN();
