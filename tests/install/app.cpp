// A program built against the installed library alone (through pkg-config or the CMake package).
#include <stdio.h>

#include <ZonCityList.h>
#include <ZonDBManager.h>
#include <zon-host/zon_host.h>

int main()
{
	zon_host_reset();
	ZonDBManager* db = ZonDBManager::getInstance();
	db->initialize();
	db->insert(allCityList[298].id, allCityList[298].cityname_eng, false);
	for (const Cityinfo& city : db->getAllCityList(false))
		printf("%d %s %s\n", city.id, city.cityname_eng, city.timezone_path);
	db->finalize();
	return 0;
}
