/*
 * BenchDevice.h - a fresh simulated device for one benchmark program: a private device root that
 * is removed when the program ends, so a run never touches the user's own device.
 */
#ifndef ZON_BENCH_DEVICE_H
#define ZON_BENCH_DEVICE_H

#include <stdio.h>
#include <stdlib.h>

#include <filesystem>
#include <string>

#include <zon-host/zon_host.h>

class BenchDevice {
public:
	// Creates the root and points the host at it; false (after a message) when it cannot.
	bool open()
	{
		_root = (std::filesystem::temp_directory_path() / "zon-bench-XXXXXX").string();
		if (!mkdtemp(_root.data())) {
			perror("zon-bench: mkdtemp");
			_root.clear();
			return false;
		}
		setenv("ZON_HOST_ROOT", _root.c_str(), 1);
		zon_host_reset();
		return true;
	}

	~BenchDevice()
	{
		if (!_root.empty())
			std::filesystem::remove_all(_root);
	}

private:
	std::string _root;
};

#endif // ZON_BENCH_DEVICE_H
