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

#include <stdlib.h>

#include <cmath>
#include <string>
#include <vector>

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

struct Image {
	int width = 0;
	int height = 0;
	std::vector<unsigned int> pixels;   // ARGB, opaque
};

double channel(unsigned int pixel, int shift)
{
	return (pixel >> shift) & 0xff;
}

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
		Image image;
		Ecore_X_Window xwin = elm_win_xwindow_get(window());
		Ecore_X_Display* display = ecore_x_display_get();
		Ecore_X_Screen* screen = ecore_x_default_screen_get();
		Ecore_X_Visual visual = ecore_x_default_visual_get(display, screen);
		Ecore_X_Image* xim = ecore_x_image_new(kSize, kSize, visual, ecore_x_default_depth_get(display, screen));
		if (!xim || !ecore_x_image_get(xim, xwin, 0, 0, 0, 0, kSize, kSize)) {
			ADD_FAILURE() << "cannot grab the window";
			if (xim)
				ecore_x_image_free(xim);
			return image;
		}
		int bpl = 0, rows = 0, bpp = 0;
		void* data = ecore_x_image_data_get(xim, &bpl, &rows, &bpp);
		image.width = image.height = kSize;
		image.pixels.resize(kSize * kSize);
		ecore_x_image_to_argb_convert(data, bpp, bpl, ecore_x_default_colormap_get(display, screen), visual, 0, 0,
			kSize, kSize, image.pixels.data(), kSize * 4, 0, 0);
		ecore_x_image_free(xim);
		for (unsigned int& pixel : image.pixels)
			pixel |= 0xff000000u;
		return image;
	}

	Image load(const std::string& path)
	{
		Image image;
		Evas_Object* obj = evas_object_image_add(evas());
		evas_object_image_file_set(obj, path.c_str(), nullptr);
		if (evas_object_image_load_error_get(obj) == EVAS_LOAD_ERROR_NONE) {
			evas_object_image_size_get(obj, &image.width, &image.height);
			const unsigned int* data = static_cast<const unsigned int*>(evas_object_image_data_get(obj, EINA_FALSE));
			int stride = evas_object_image_stride_get(obj) / 4;
			for (int y = 0; data && y < image.height; ++y)
				image.pixels.insert(image.pixels.end(), data + y * stride, data + y * stride + image.width);
		}
		evas_object_del(obj);
		return image;
	}

	bool save(const Image& image, const std::string& path)
	{
		Evas_Object* obj = evas_object_image_add(evas());
		evas_object_image_size_set(obj, image.width, image.height);
		evas_object_image_data_copy_set(obj, const_cast<unsigned int*>(image.pixels.data()));
		bool saved = evas_object_image_save(obj, path.c_str(), nullptr, "compress=9");
		evas_object_del(obj);
		return saved;
	}

	// Compares a grab with tests/ui/reference/<name>.png.
	void expectLooksLike(const Image& actual, const std::string& name)
	{
		ASSERT_EQ(kSize, actual.width);
		std::string reference = std::string(ZON_SOURCE_DIR) + "/tests/ui/reference/" + name + ".png";
		if (getenv("ZON_UI_UPDATE_REFERENCES")) {
			ASSERT_TRUE(save(actual, reference)) << reference;
			return;
		}
		Image expected = load(reference);
		ASSERT_EQ(kSize, expected.width) << "no reference " << reference;
		ASSERT_EQ(kSize, expected.height);
		double worst = 0.0;
		int worstX = 0, worstY = 0;
		for (int by = 0; by < kSize; by += kBlock) {
			for (int bx = 0; bx < kSize; bx += kBlock) {
				double sum = 0.0;
				for (int y = by; y < by + kBlock; ++y) {
					for (int x = bx; x < bx + kBlock; ++x) {
						unsigned int a = actual.pixels[y * kSize + x];
						unsigned int e = expected.pixels[y * kSize + x];
						for (int shift : {0, 8, 16})
							sum += std::fabs(channel(a, shift) - channel(e, shift));
					}
				}
				double mean = sum / (kBlock * kBlock * 3);
				if (mean > worst) {
					worst = mean;
					worstX = bx;
					worstY = by;
				}
			}
		}
		if (worst > kBlockTolerance) {
			std::string path = std::string(getenv("ZON_UI_ACTUAL_DIR") ? getenv("ZON_UI_ACTUAL_DIR") : "/tmp") + "/"
				+ name + ".actual.png";
			save(actual, path);
			ADD_FAILURE() << name << " differs from its reference around (" << worstX << ", " << worstY
						  << "): mean difference " << worst << " > " << kBlockTolerance << "; grabbed: " << path;
		}
	}
};

TEST_F(Screenshot, Toasts)
{
	Evas_Object* toast = (new ToastPopup())->create(window(), "Weather updated.", false, false);
	expectLooksLike(grab(), "toast");
	evas_object_smart_callback_call(toast, "timeout", nullptr);
	pumpUntil([&] { return popups().empty(); });

	ZonPopup::showCityAddedPopup(window());
	expectLooksLike(grab(), "toast-check");
}

TEST_F(Screenshot, InstallPrompt)
{
	ZonWeatherInstallationPopup prompt;
	prompt.create(window());
	expectLooksLike(grab(), "install-prompt");
}

TEST_F(Screenshot, NoResultNotice)
{
	ZonPopup::noResultPopup(window());
	expectLooksLike(grab(), "no-result");
}
