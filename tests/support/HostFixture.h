/*
 * HostFixture.h - a new simulated device for every test.
 *
 * SetUp points ZON_HOST_ROOT at a fresh directory under /tmp, resets the host port and starts
 * capturing log lines. TearDown resets again and fails the test if change-callback
 * registrations were left behind (a test that leaves them on purpose calls
 * allowLeakedRegistrations()), restores the environment variables changed through setEnv()
 * and removes the directory.
 *
 *   class ZonDBManagerTest : public HostFixture {};
 *   TEST_F(ZonDBManagerTest, ...) { setEnv("LANG", "de_DE.UTF-8"); ... zon_host_pump(100); }
 */
#ifndef ZON_TESTS_HOST_FIXTURE_H
#define ZON_TESTS_HOST_FIXTURE_H

#include <ftw.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <zon-host/zon_host.h>

// Frees a string the platform handed over; "<null>" for none.
inline std::string takeText(char *text)
{
	std::string result = text ? text : "<null>";
	free(text);
	return result;
}

class HostFixture : public ::testing::Test {
protected:
	void SetUp() override
	{
		char tmpl[] = "/tmp/zon-host-test-XXXXXX";
		ASSERT_NE(mkdtemp(tmpl), nullptr);
		root_ = tmpl;
		setEnv("ZON_HOST_ROOT", root_.c_str());
		zon_host_reset();
		zon_host_log_capture(true);
	}

	void TearDown() override
	{
		int leaked = zon_host_reset();
		EXPECT_TRUE(!checkLeaks_ || leaked == 0) << leaked << " change-callback registrations were left behind";
		for (auto it = savedEnv_.rbegin(); it != savedEnv_.rend(); ++it) {
			if (it->second.first)
				setenv(it->first.c_str(), it->second.second.c_str(), 1);
			else
				unsetenv(it->first.c_str());
		}
		savedEnv_.clear();
		// The restored environment takes effect at the next reset; the root is gone by then.
		zon_host_reset();
		if (!root_.empty())
			removeTree(root_);
	}

	// Sets (or, with nullptr, unsets) an environment variable until the end of the test.
	void setEnv(const char *name, const char *value)
	{
		const char *old = getenv(name);
		savedEnv_.emplace_back(name, std::make_pair(old != nullptr, std::string(old ? old : "")));
		if (value)
			setenv(name, value, 1);
		else
			unsetenv(name);
	}

	void allowLeakedRegistrations() { checkLeaks_ = false; }

	// The device root of this test, and a path below it.
	const std::string &root() const { return root_; }
	std::string rootPath(const std::string &relative) const { return root_ + "/" + relative; }

	// Runs `child` in a forked process of the same device; it is to return true.
	template <class Child> static void inChild(Child child)
	{
		pid_t pid = fork();
		if (pid == 0)
			_exit(child() ? 0 : 1);
		int status = -1;
		EXPECT_TRUE(pid > 0 && waitpid(pid, &status, 0) == pid && WIFEXITED(status) && WEXITSTATUS(status) == 0);
	}

	static void removeTree(const std::string &path)
	{
		nftw(path.c_str(), [](const char *p, const struct stat *, int, struct FTW *) { return remove(p); }, 16,
				FTW_DEPTH | FTW_PHYS);
	}

private:
	std::string root_;
	bool checkLeaks_ = true;
	std::vector<std::pair<std::string, std::pair<bool, std::string>>> savedEnv_;
};

#endif /* ZON_TESTS_HOST_FIXTURE_H */
