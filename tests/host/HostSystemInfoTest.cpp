#include <cstdlib>

#include <system_info.h>
#include <zon-host/zon_host.h>

#include "HostFixture.h"

namespace {

class HostSystemInfo : public HostFixture {};

const char kBezel[] = "http://tizen.org/feature/input.rotating_bezel";

TEST_F(HostSystemInfo, FeaturesAnswerFromTheDeviceConfiguration)
{
	bool value = true;
	EXPECT_EQ(SYSTEM_INFO_ERROR_INVALID_PARAMETER, system_info_get_platform_bool(kBezel, &value));
	EXPECT_TRUE(value) << "untouched on failure";

	ASSERT_EQ(0, zon_host_set_feature_bool(kBezel, false));
	ASSERT_EQ(0, zon_host_set_feature_bool("http://korvath.com/feature/showcase", true));
	ASSERT_EQ(0, zon_host_set_feature_string("http://tizen.org/system/model_name", "Orbit 4"));
	EXPECT_EQ(0, zon_host_reset());

	EXPECT_EQ(SYSTEM_INFO_ERROR_NONE, system_info_get_platform_bool(kBezel, &value));
	EXPECT_FALSE(value);
	EXPECT_EQ(SYSTEM_INFO_ERROR_NONE, system_info_get_custom_bool("http://korvath.com/feature/showcase", &value));
	EXPECT_TRUE(value);
	char *model = nullptr;
	ASSERT_EQ(SYSTEM_INFO_ERROR_NONE, system_info_get_platform_string("http://tizen.org/system/model_name", &model));
	EXPECT_STREQ("Orbit 4", model);
	free(model);

	int number = 0;
	system_info_type_e type = SYSTEM_INFO_INT;
	EXPECT_EQ(SYSTEM_INFO_ERROR_INVALID_PARAMETER, system_info_get_platform_int(kBezel, &number));
	EXPECT_EQ(SYSTEM_INFO_ERROR_NONE, system_info_get_platform_type(kBezel, &type));
	EXPECT_EQ(SYSTEM_INFO_BOOL, type);
	EXPECT_EQ(SYSTEM_INFO_ERROR_INVALID_PARAMETER, system_info_get_platform_bool(nullptr, &value));

	EXPECT_EQ(0, zon_host_unset_feature(kBezel));
	EXPECT_EQ(0, zon_host_unset_feature(kBezel));
	EXPECT_EQ(SYSTEM_INFO_ERROR_INVALID_PARAMETER, system_info_get_platform_bool(kBezel, &value));
	EXPECT_EQ(-1, zon_host_set_feature_bool("", true));
}

} // namespace
