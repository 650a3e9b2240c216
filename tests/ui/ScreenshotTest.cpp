// What the toasts and the install prompt look like on a real X server, against reference images
// (tests/ui/reference/*.png), so that the watch theme or the popups' structure cannot break
// their layout unnoticed.
//
// Run by the CTest "ui.screenshots", which starts these tests under xvfb-run with
// ZON_UI_SCREENSHOTS=1; elsewhere they are skipped. The window is grabbed from the X server;
// each grab is compared with its reference by blocks of pixels, so that a slightly different
// font rendering passes and a moved or missing element does not. A grab that fails the
// comparison is written beside the test log (<name>.actual.png). ZON_UI_UPDATE_REFERENCES=1
// writes the grabs into the source tree as the new references instead.

#include <algorithm>

#include <Ecore_X.h>

#include <ToastPopup.h>
#include <ZonPopup.h>
#include <ZonWeatherInstallationPopup.h>

#include "UiFixture.h"

namespace {

const int kSize = 360;
const int kBlock = 20;
// Mean difference of one channel over a block, out of 255: text drawn a pixel aside stays far
// below; a missing icon, button or line of text goes far above.
const double kBlockTolerance = 24.0;

// kSize x kSize ARGB pixels, opaque; empty when there is no image.
using Image = std::vector<unsigned int>;

}

class Screenshot : public UiFixture {
protected:
	void SetUp() override
	{
		if (!getenv("ZON_UI_SCREENSHOTS"))
			GTEST_SKIP() << "needs an X server: run by the test ui.screenshots";
		setEnv("ELM_DISPLAY", "x11");
		setEnv("ELM_ENGINE", "software_x11");
		UiFixture::SetUp();
		if (HasFatalFailure())
			return;
		// Without this a window that the (absent) window manager never shows stays unrendered.
		// The fixture's window was shown before: it is shown again under the new setting.
		elm_config_agressive_withdrawn_set(EINA_FALSE);
		evas_object_hide(window());
		evas_object_show(window());
		Evas_Object* bg = elm_bg_add(window());
		elm_bg_color_set(bg, 0, 0, 0);
		evas_object_size_hint_weight_set(bg, EVAS_HINT_EXPAND, EVAS_HINT_EXPAND);
		elm_win_resize_object_add(window(), bg);
		evas_object_show(bg);
		for (const char* icon : {"qz_ic_popup_btn_delete.png", "qz_ic_popup_btn_check.png", "zonvista_ic_error.png"})
			provideIcon(icon);
	}

	Image grab()
	{
		// Long enough for the show fade and a few frames after it.
		pump(0.6);
		Ecore_X_Display* display = ecore_x_display_get();
		Ecore_X_Screen* screen = ecore_x_default_screen_get();
		Ecore_X_Visual visual = ecore_x_default_visual_get(display, screen);
		std::unique_ptr<Ecore_X_Image, void (*)(Ecore_X_Image*)> xim(
			ecore_x_image_new(kSize, kSize, visual, ecore_x_default_depth_get(display, screen)), ecore_x_image_free);
		if (!xim || !ecore_x_image_get(xim.get(), elm_win_xwindow_get(window()), 0, 0, 0, 0, kSize, kSize)) {
			ADD_FAILURE() << "cannot grab the window";
			return {};
		}
		int bpl = 0, rows = 0, bpp = 0;
		void* data = ecore_x_image_data_get(xim.get(), &bpl, &rows, &bpp);
		Image image(kSize * kSize);
		ecore_x_image_to_argb_convert(data, bpp, bpl, ecore_x_default_colormap_get(display, screen), visual, 0, 0,
			kSize, kSize, image.data(), kSize * 4, 0, 0);
		for (unsigned int& pixel : image)
			pixel |= 0xff000000u;
		return image;
	}

	bool save(const Image& image, const std::string& path)
	{
		Evas_Object* obj = evas_object_image_add(evas());
		evas_object_image_size_set(obj, kSize, kSize);
		evas_object_image_data_copy_set(obj, const_cast<unsigned int*>(image.data()));
		bool saved = evas_object_image_save(obj, path.c_str(), nullptr, "compress=9");
		evas_object_del(obj);
		return saved;
	}

	// Compares a grab with tests/ui/reference/<name>.png, block by block.
	void expectLooksLike(const Image& actual, const std::string& name)
	{
		ASSERT_EQ(size_t(kSize * kSize), actual.size());
		std::string reference = std::string(ZON_SOURCE_DIR) + "/tests/ui/reference/" + name + ".png";
		if (getenv("ZON_UI_UPDATE_REFERENCES")) {
			ASSERT_TRUE(save(actual, reference)) << reference;
			return;
		}
		Image expected;
		Evas_Object* obj = evas_object_image_add(evas());
		evas_object_image_file_set(obj, reference.c_str(), nullptr);
		auto* data = static_cast<const unsigned int*>(evas_object_image_data_get(obj, EINA_FALSE));
		int width = 0, height = 0, stride = evas_object_image_stride_get(obj) / 4;
		evas_object_image_size_get(obj, &width, &height);
		for (int y = 0; data && width == kSize && height == kSize && y < kSize; ++y)
			expected.insert(expected.end(), data + y * stride, data + y * stride + kSize);
		evas_object_del(obj);
		ASSERT_EQ(size_t(kSize * kSize), expected.size()) << "no reference of " << kSize << "x" << kSize << ": " << reference;
		const int n = kSize / kBlock;
		std::vector<double> sums(n * n);
		for (int i = 0; i < kSize * kSize; ++i)
			for (int shift : {0, 8, 16})
				sums[i / kSize / kBlock * n + i % kSize / kBlock] +=
					std::abs(int(actual[i] >> shift & 0xff) - int(expected[i] >> shift & 0xff));
		// The first block of the largest difference, in rows of blocks from the top left.
		long at = std::max_element(sums.begin(), sums.end()) - sums.begin();
		double worst = sums[at] / (kBlock * kBlock * 3);
		if (worst > kBlockTolerance) {
			const char* dir = getenv("ZON_UI_ACTUAL_DIR");
			std::string path = std::string(dir ? dir : "/tmp") + "/" + name + ".actual.png";
			save(actual, path);
			ADD_FAILURE() << name << " differs from its reference around (" << at % n * kBlock << ", " << at / n * kBlock
						  << "): mean difference " << worst << " > " << kBlockTolerance << "; grabbed: " << path;
		}
	}
};

TEST_F(Screenshot, ToastsNoticesAndTheInstallPrompt)
{
	Evas_Object* toast = (new ToastPopup())->create(window(), "Weather updated.", false, false);
	expectLooksLike(grab(), "toast");
	evas_object_smart_callback_call(toast, "timeout", nullptr);
	pumpUntil([&] { return popups().empty(); });
	ZonPopup::showCityAddedPopup(window());
	expectLooksLike(grab(), "toast-check");
	evas_object_del(onlyPopup());
	ZonPopup::noResultPopup(window());
	expectLooksLike(grab(), "no-result");
	evas_object_del(onlyPopup());
	ZonWeatherInstallationPopup prompt;
	prompt.create(window());
	expectLooksLike(grab(), "install-prompt");
}
