/*
 * BenchStartup.cpp - zonclock's clock view as a whole process, beside a program that does
 * nothing but load the libraries every zon-common program needs (ICU, SQLite, GLib): what start-up
 * costs beyond the floor is ours (dynamic linking of our libraries and theirs, settings, the
 * database, the texts).
 *
 * Each iteration spawns the program and reads its CPU time (user + system) from wait4(); the
 * benchmark's time is that CPU time, so the figures hold on a busy machine too.
 */
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "BenchDevice.h"

extern char** environ;

namespace {

// CPU seconds of one run; negative when the program could not run or failed.
double runOnce(const std::vector<std::string>& argv)
{
	std::vector<char*> args;
	for (const std::string& a : argv)
		args.push_back(const_cast<char*>(a.c_str()));
	args.push_back(nullptr);
	posix_spawn_file_actions_t actions;
	posix_spawn_file_actions_init(&actions);
	posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
	pid_t pid = 0;
	int err = posix_spawn(&pid, args[0], &actions, nullptr, args.data(), environ);
	posix_spawn_file_actions_destroy(&actions);
	if (err != 0)
		return -1;
	int status = 0;
	struct rusage usage = {};
	if (wait4(pid, &status, 0, &usage) != pid || !WIFEXITED(status) || WEXITSTATUS(status) != 0)
		return -1;
	auto seconds = [](const struct timeval& t) { return t.tv_sec + t.tv_usec / 1e6; };
	return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

void runProcess(benchmark::State& state, const std::vector<std::string>& argv)
{
	for (auto _ : state) {
		double cpu = runOnce(argv);
		if (cpu < 0) {
			state.SkipWithError(("cannot run " + argv[0]).c_str());
			return;
		}
		state.SetIterationTime(cpu);
	}
}

void BM_ZonclockClockView(benchmark::State& state)
{
	runProcess(state, {ZONCLOCK_PATH});
}
BENCHMARK(BM_ZonclockClockView)->UseManualTime()->Unit(benchmark::kMillisecond)->Repetitions(5)->ReportAggregatesOnly();

// The two programs in turns, so that both see the same machine (a shared virtual machine drifts
// by tens of percent over a minute): the iteration time is the clock view's; "floor_ms" and
// "ratio" are the medians of the floor's time and of each pair's ratio.
void BM_ClockViewOverFloorInTurns(benchmark::State& state)
{
	std::vector<double> floors, ratios;
	for (auto _ : state) {
		double floor = runOnce({EMPTY_PROGRAM_PATH});
		double clock = runOnce({ZONCLOCK_PATH});
		if (floor <= 0 || clock < 0) {
			state.SkipWithError("cannot run the programs");
			return;
		}
		floors.push_back(floor);
		ratios.push_back(clock / floor);
		state.SetIterationTime(clock);
	}
	auto median = [](std::vector<double> values) {
		std::sort(values.begin(), values.end());
		return values.empty() ? 0.0 : values[values.size() / 2];
	};
	state.counters["floor_ms"] = median(floors) * 1e3;
	state.counters["ratio"] = median(ratios);
}
BENCHMARK(BM_ClockViewOverFloorInTurns)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(100)->Repetitions(5)->ReportAggregatesOnly();

void BM_EmptyProgramFloor(benchmark::State& state)
{
	runProcess(state, {EMPTY_PROGRAM_PATH});
}
BENCHMARK(BM_EmptyProgramFloor)->UseManualTime()->Unit(benchmark::kMillisecond)->Repetitions(5)->ReportAggregatesOnly();

// The floor as first measured: its linker left out ICU's i18n library, which it did not call.
void BM_EmptyProgramWithoutI18n(benchmark::State& state)
{
	runProcess(state, {EMPTY_PROGRAM_WITHOUT_I18N_PATH});
}
BENCHMARK(BM_EmptyProgramWithoutI18n)->UseManualTime()->Unit(benchmark::kMillisecond)->Repetitions(5)->ReportAggregatesOnly();

}

int main(int argc, char** argv)
{
	BenchDevice device;
	if (!device.open())
		return 1;
	// Four cities on the device; the runs then show the clock view of a settled device.
	for (const char* city : {"Tokyo", "London", "New York", "Seoul"}) {
		if (runOnce({ZONCLOCK_PATH, "add", city}) < 0) {
			fprintf(stderr, "zon-bench: cannot add %s\n", city);
			return 1;
		}
	}
	// Stores written less than a second ago are read again on every access (their timestamps
	// could still repeat); a device in use has settled long before.
	sleep(2);
	benchmark::Initialize(&argc, argv);
	benchmark::RunSpecifiedBenchmarks();
	benchmark::Shutdown();
	return 0;
}
