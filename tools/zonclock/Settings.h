/*
 * Settings.h - the device settings that shape zonclock's texts, and the process side of them.
 *
 * The library formats every text from the device's settings: the region format
 * ("db/menu_widget/regionformat") for dates, clocks and digits, the 24-hour setting, and the
 * display language ("db/menu_widget/language"), which decides the language of the "zonvista"
 * catalogue. It only calls dgettext(); binding the domain and choosing the language is the
 * application's part, done here as the world-clock application does it on the watch.
 *
 * --region, --language, --24h and --12h change those settings for one run: what the device held
 * is remembered and put back when the run ends, a never-set key included (it goes back to
 * following the desktop). A run killed by a signal it does not handle leaves them changed.
 *
 * A device that never set its 12/24-hour clock follows its region format for the run, as the
 * watch does: de_DE shows 24 hours, en_US 12. A stored setting, --24h or --12h wins.
 */
#ifndef ZONCLOCK_SETTINGS_H
#define ZONCLOCK_SETTINGS_H

#include <string>
#include <vector>

namespace zonclock {

// "ko_KR", "ko-KR" or "ko_KR.UTF-8" -> "ko_KR", when ICU has data for that locale; "" when not.
std::string availableLocale(const std::string& text);

// The character set and messages categories from the environment, the others left "C" (C.UTF-8
// for both when the environment's locale is not installed or is plain C, where
// gettext would ignore LANGUAGE and could not print the translations), and the "zonvista" and
// "zonclock" domains bound to the build tree's catalogues when zonclock runs from there, else the
// installed ones: beside the program's own prefix first, then the configured install prefix.
void bindMessageCatalogue();

// Whether the "zonclock" and "zonvista" domains each have a catalogue for a locale name as
// availableLocale() gives it ("ko_KR": ko_KR or ko). English needs none: its texts are the ids'
// own or the library's English catalogue.
bool hasCatalogues(const std::string& locale);

// Whether the region format's conventions use degrees Fahrenheit (the US measurement system).
// (Its clock needs no help: the device's 12/24-hour setting follows the region until set.)
bool regionUsesFahrenheit(const std::string& region);
// The device's region format now, without ".UTF-8": its own, else the desktop's LC_TIME/LANG.
std::string deviceRegion();

// LANGUAGE for gettext from the device's display language: "ko_KR.UTF-8" -> "ko_KR:ko:en". English
// closes the list, so a language without a catalogue shows English rather than message ids.
// Must run before the first dgettext(): glibc keeps what it looked up.
void followDeviceLanguage();
std::string gettextLanguage(const std::string& deviceLanguage);

class SettingOverrides {
public:
	enum Clock { ClockAsSet, Clock12, Clock24 };

	// Locale names as availableLocale() gives them; empty leaves the setting alone.
	std::string region;
	std::string language;
	Clock clock = ClockAsSet;

	// Writes the overrides into the open device, remembering what they replace.
	void apply();
	// Puts back what apply() replaced; does nothing a second time.
	void restore();

private:
	struct Saved {
		std::string key;
		bool wasSet;         // false: the key was unset and goes back to unset
		bool isInt;
		std::string text;
		int number;
	};
	std::vector<Saved> _saved;
};

} // namespace zonclock

#endif /* ZONCLOCK_SETTINGS_H */
