#include "kit/model/slide_element.h"

#include "kit/model/codings.h"

#include <gtest/gtest.h>

namespace vorno::slide_element_test {
namespace {

template <class T>
T decode(std::string_view text) {
  Json json = parseJSON(text);
  return Reader(json).decode<T>();
}

template <class T>
std::string decodingSummary(std::string_view text) {
  try {
    decode<T>(text);
  } catch (const DecodingError& error) {
    return error.summary();
  }
  return "no error";
}

// CropRect

TEST(CropRect, CropWithXPastTheEdgeClampsXAndWidth) {
  CropRect c = CropRect{0.99, 0.2, 0.5, 0.5}.clamped();
  EXPECT_DOUBLE_EQ(c.x, 0.98);
  // What is left of the capture, 1 - 0.98, which a double holds a hair above 0.02.
  EXPECT_NEAR(c.width, 0.02, 1e-12);
  EXPECT_DOUBLE_EQ(c.y, 0.2);
  EXPECT_DOUBLE_EQ(c.height, 0.5);
}

TEST(CropRect, ClampedRaisesTinySizesAndKeepsOriginInside) {
  CropRect c = CropRect{-0.5, 0.3, 0.001, 2}.clamped();
  EXPECT_DOUBLE_EQ(c.x, 0);
  EXPECT_DOUBLE_EQ(c.width, 0.02);
  EXPECT_DOUBLE_EQ(c.y, 0.3);
  EXPECT_DOUBLE_EQ(c.height, 0.7);
  CropRect inside{0.1, 0.1, 0.5, 0.5};
  EXPECT_EQ(inside.clamped(), inside);
}

TEST(CropRect, AllFourFieldsAreRequired) {
  EXPECT_EQ(decodingSummary<CropRect>(R"({"x": 0, "y": 0, "width": 1})"), "missing height");
  EXPECT_EQ(Coding<CropRect>::write(decode<CropRect>(R"({"x": 0, "y": 0.1, "width": 1, "height": 0.5})")),
            parseJSON(R"({"x": 0, "y": 0.1, "width": 1, "height": 0.5})"));
}

// ScreenshotRef

TEST(ScreenshotRef, PathResolvesEverywhereWithLocaleReplaced) {
  auto ref = ScreenshotRef::path("captures/{locale}/week-{locale}.png");
  EXPECT_EQ(ref.resolve(StoreTarget::playTablet10(), "de-DE"), "captures/de-DE/week-de-DE.png");
}

TEST(ScreenshotRef, ByTargetPrefersTheTargetThenThePlatform) {
  auto ref = ScreenshotRef::byTarget({{"ios", "captures/phone.png"}, {"ios.ipad-13", "captures/ipad.png"}});
  EXPECT_EQ(ref.resolve(StoreTarget::ipad13(), "en-US"), "captures/ipad.png");
  EXPECT_EQ(ref.resolve(StoreTarget::iphone69(), "en-US"), "captures/phone.png");
  EXPECT_EQ(ref.resolve(StoreTarget::iphone65(), "en-US"), "captures/phone.png");
  EXPECT_EQ(ref.resolve(StoreTarget::iphoneDuo(), "en-US"), "captures/phone.png");
  EXPECT_FALSE(ref.resolve(StoreTarget::playPhone(), "en-US"));
}

TEST(ScreenshotRef, FoldableBorrowsTheBigIPhoneCapture) {
  auto only69 = ScreenshotRef::byTarget({{"ios.iphone-6.9", "captures/{locale}/69.png"}});
  EXPECT_EQ(only69.resolve(StoreTarget::iphoneDuo(), "ja-JP"), "captures/ja-JP/69.png");
  auto only65 = ScreenshotRef::byTarget({{"ios.iphone-6.5", "captures/65.png"}});
  EXPECT_EQ(only65.resolve(StoreTarget::iphoneDuo(), "en-US"), "captures/65.png");
  auto both = ScreenshotRef::byTarget({{"ios.iphone-6.5", "65.png"}, {"ios.iphone-6.9", "69.png"}});
  EXPECT_EQ(both.resolve(StoreTarget::iphoneDuo(), "en-US"), "69.png");
  // Only a foldable borrows; a tablet does not.
  EXPECT_FALSE(only69.resolve(StoreTarget::ipad13(), "en-US"));
}

TEST(ScreenshotRef, ReadsStringThenObjectOfStrings) {
  EXPECT_EQ(decode<ScreenshotRef>(R"("captures/a.png")"), ScreenshotRef::path("captures/a.png"));
  EXPECT_EQ(decode<ScreenshotRef>(R"({"android": "a.png", "ios": "i.png"})"),
            ScreenshotRef::byTarget({{"android", "a.png"}, {"ios", "i.png"}}));
  EXPECT_EQ(decodingSummary<ScreenshotRef>("12"), "expected Dictionary");
  EXPECT_EQ(decodingSummary<ScreenshotRef>(R"({"ios": 1})"), "expected String at .ios");
}

TEST(ScreenshotRef, WritesItsOwnForm) {
  EXPECT_EQ(Coding<ScreenshotRef>::write(ScreenshotRef::path("a.png")), Json("a.png"));
  EXPECT_EQ(Coding<ScreenshotRef>::write(ScreenshotRef::byTarget({{"ios", "i.png"}})), parseJSON(R"({"ios": "i.png"})"));
}

// DeviceSlot

DeviceSlot slotWithAndroidFinish() {
  return decode<DeviceSlot>(R"({
    "screenshot": "captures/a.png", "frame": "phone-frame", "finish": "silver",
    "crop": {"x": 0, "y": 0.1, "width": 1, "height": 0.5},
    "platforms": {"android": {"finish": "graphite"}}
  })");
}

TEST(DeviceSlot, AndroidEntryWithOnlyFinishKeepsTheSlotsFrameAndCrop) {
  DeviceSlot slot = slotWithAndroidFinish();
  DeviceLook android = slot.look(Platform::android);
  EXPECT_EQ(android.finish, "graphite");
  EXPECT_EQ(android.frame, "phone-frame");
  EXPECT_EQ(android.crop, (CropRect{0, 0.1, 1, 0.5}));
}

TEST(DeviceSlot, MissingPlatformEntryGivesTheSlotsOwnLook) {
  DeviceSlot slot = slotWithAndroidFinish();
  EXPECT_EQ(slot.look(Platform::ios), (DeviceLook{"phone-frame", "silver", CropRect{0, 0.1, 1, 0.5}}));
  slot.platforms.reset();
  EXPECT_EQ(slot.look(Platform::android), (DeviceLook{"phone-frame", "silver", CropRect{0, 0.1, 1, 0.5}}));
}

TEST(DeviceSlot, PlatformEntryCanReplaceAllThree) {
  DeviceSlot slot = slotWithAndroidFinish();
  (*slot.platforms)["ios"] = DeviceLook{"none", "gold", CropRect{0.2, 0.2, 0.5, 0.5}};
  EXPECT_EQ(slot.look(Platform::ios), (DeviceLook{"none", "gold", CropRect{0.2, 0.2, 0.5, 0.5}}));
}

TEST(DeviceSlot, FlattenedAppliesTheLookAndClearsPlatforms) {
  DeviceSlot slot = slotWithAndroidFinish();
  slot.width = 0.8;
  DeviceSlot flat = slot.flattened(Platform::android);
  EXPECT_EQ(flat.finish, "graphite");
  EXPECT_EQ(flat.frame, "phone-frame");
  EXPECT_EQ(flat.crop, slot.crop);
  EXPECT_EQ(flat.width, 0.8);
  EXPECT_EQ(flat.screenshot, slot.screenshot);
  EXPECT_FALSE(flat.platforms.has_value());
  EXPECT_EQ(slot.flattened(Platform::ios).finish, "silver");
}

TEST(DeviceSlot, ScreenshotIsRequiredAndOthersAreSparse) {
  EXPECT_EQ(decodingSummary<DeviceSlot>(R"({"frame": "none"})"), "missing screenshot");
  DeviceSlot bare = decode<DeviceSlot>(R"({"screenshot": "a.png"})");
  EXPECT_EQ(Coding<DeviceSlot>::write(bare), parseJSON(R"({"screenshot": "a.png"})"));
  // An empty but present map of looks is kept.
  DeviceSlot emptyLooks = decode<DeviceSlot>(R"({"screenshot": "a.png", "platforms": {}})");
  EXPECT_EQ(Coding<DeviceSlot>::write(emptyLooks), parseJSON(R"({"screenshot": "a.png", "platforms": {}})"));
}

// ComponentSpec

LocalizedText in(const std::string& locale, const std::string& text) { return LocalizedText{{{locale, text}}}; }

TEST(ComponentSpec, KindNamesAreTheCatalogueInOrder) {
  EXPECT_EQ(ComponentSpec::kindNames(", "), "rating, badge, award, review, stat, checklist, notification, callout");
  EXPECT_EQ(ComponentSpec::kindNames(" | "),
            "rating | badge | award | review | stat | checklist | notification | callout");
}

TEST(ComponentSpec, StarterRating) {
  auto spec = ComponentSpec::starter(ComponentSpec::Kind::rating, "de-DE");
  ComponentSpec expected;
  expected.type = ComponentSpec::Kind::rating;
  expected.title = in("de-DE", "Loved by our users");
  expected.value = 4.9;
  EXPECT_EQ(spec, expected);
  EXPECT_EQ(ComponentSpec::summary(ComponentSpec::Kind::rating), "Stars, score and a line");
}

TEST(ComponentSpec, StarterBadge) {
  auto spec = ComponentSpec::starter(ComponentSpec::Kind::badge, "en-US");
  ComponentSpec expected;
  expected.type = ComponentSpec::Kind::badge;
  expected.title = in("en-US", "Works offline");
  expected.symbol = "checkmark.circle.fill";
  EXPECT_EQ(spec, expected);
  EXPECT_EQ(ComponentSpec::summary(ComponentSpec::Kind::badge), "Icon and a short label");
}

TEST(ComponentSpec, StarterAward) {
  auto spec = ComponentSpec::starter(ComponentSpec::Kind::award, "en-US");
  ComponentSpec expected;
  expected.type = ComponentSpec::Kind::award;
  expected.title = in("en-US", "AWARD WINNER");
  expected.subtitle = in("en-US", "Name the award");
  EXPECT_EQ(spec, expected);
  EXPECT_EQ(ComponentSpec::summary(ComponentSpec::Kind::award), "Laurels around a title");
}

TEST(ComponentSpec, StarterReviewQuotesWithCurlyMarks) {
  auto spec = ComponentSpec::starter(ComponentSpec::Kind::review, "en-US");
  ComponentSpec expected;
  expected.type = ComponentSpec::Kind::review;
  expected.title = in("en-US", "\xE2\x80\x9C" "Finally an app that keeps up with my day." "\xE2\x80\x9D");
  expected.subtitle = in("en-US", "Ana, a happy user");
  expected.value = 5;
  EXPECT_EQ(spec, expected);
  EXPECT_EQ(ComponentSpec::summary(ComponentSpec::Kind::review), "A quote with stars");
}

TEST(ComponentSpec, StarterStat) {
  auto spec = ComponentSpec::starter(ComponentSpec::Kind::stat, "en-US");
  ComponentSpec expected;
  expected.type = ComponentSpec::Kind::stat;
  expected.title = in("en-US", "2\xC3\x97 faster");
  expected.subtitle = in("en-US", "than doing it by hand");
  EXPECT_EQ(spec, expected);
  EXPECT_EQ(ComponentSpec::summary(ComponentSpec::Kind::stat), "A big number");
}

TEST(ComponentSpec, StarterChecklist) {
  auto spec = ComponentSpec::starter(ComponentSpec::Kind::checklist, "fr-FR");
  ComponentSpec expected;
  expected.type = ComponentSpec::Kind::checklist;
  expected.items = std::vector<LocalizedText>{in("fr-FR", "Plan the day"), in("fr-FR", "Send quotes"),
                                              in("fr-FR", "Get paid sooner")};
  EXPECT_EQ(spec, expected);
  EXPECT_EQ(ComponentSpec::summary(ComponentSpec::Kind::checklist), "Benefits with checks");
}

TEST(ComponentSpec, StarterNotification) {
  auto spec = ComponentSpec::starter(ComponentSpec::Kind::notification, "en-US");
  ComponentSpec expected;
  expected.type = ComponentSpec::Kind::notification;
  expected.title = in("en-US", "Job confirmed");
  expected.subtitle = in("en-US", "Sarah accepted your quote for Thursday.");
  expected.symbol = "bell.fill";
  EXPECT_EQ(spec, expected);
  EXPECT_EQ(ComponentSpec::summary(ComponentSpec::Kind::notification), "A push notification");
}

TEST(ComponentSpec, StarterCallout) {
  auto spec = ComponentSpec::starter(ComponentSpec::Kind::callout, "en-US");
  ComponentSpec expected;
  expected.type = ComponentSpec::Kind::callout;
  expected.title = in("en-US", "Drag to reschedule");
  EXPECT_EQ(spec, expected);
  EXPECT_EQ(ComponentSpec::summary(ComponentSpec::Kind::callout), "A label pointing at UI");
}

TEST(ComponentSpec, StartersHaveNoStyle) {
  for (auto kind : {ComponentSpec::Kind::rating, ComponentSpec::Kind::badge, ComponentSpec::Kind::award,
                    ComponentSpec::Kind::review, ComponentSpec::Kind::stat, ComponentSpec::Kind::checklist,
                    ComponentSpec::Kind::notification, ComponentSpec::Kind::callout})
    EXPECT_FALSE(ComponentSpec::starter(kind, "en-US").style.has_value());
}

TEST(ComponentSpec, TypeIsRequiredAndInvalidKindsAreRefused) {
  EXPECT_EQ(decodingSummary<ComponentSpec>(R"({"style": "dark"})"), "missing type");
  EXPECT_EQ(decodingSummary<ComponentSpec>(R"({"type": "banner"})"),
            "Cannot initialize Kind from invalid String value banner. Use rating, badge, award, review, stat, "
            "checklist, notification or callout. at .type");
  EXPECT_EQ(decodingSummary<ComponentSpec>(R"({"type": "stat", "style": "neon"})"),
            "Cannot initialize Style from invalid String value neon. Use light, dark, accent or clear. at .style");
}

// SlideElement

TEST(SlideElement, IdAndKindAreRequiredAndAlwaysWritten) {
  EXPECT_EQ(decodingSummary<SlideElement>(R"({"kind": "text"})"), "missing id");
  EXPECT_EQ(decodingSummary<SlideElement>(R"({"id": "a"})"), "missing kind");
  EXPECT_EQ(decodingSummary<SlideElement>(R"({"id": "a", "kind": "video"})"),
            "Cannot initialize Kind from invalid String value video. Use text, image, device, symbol, shape or "
            "component. at .kind");
  auto element = decode<SlideElement>(R"({"id": "logo", "kind": "image", "unknown": 1})");
  EXPECT_EQ(Coding<SlideElement>::write(element), parseJSON(R"({"id": "logo", "kind": "image"})"));
}

TEST(SlideElement, EveryFieldRoundTrips) {
  Json full = parseJSON(R"({
    "id": "sticker", "kind": "text", "text": {"en-US": "New"}, "role": "caption", "color": "#FFFFFF",
    "align": "right", "image": "assets/logo.png", "device": {"screenshot": "captures/a.png"},
    "symbol": "star.fill", "shape": "rounded-rectangle",
    "component": {"type": "review", "style": "dark", "title": {"en-US": "Great"}, "subtitle": {"en-US": "Ana"},
                  "items": [{"en-US": "One"}, {"en-US": "Two"}], "value": 4.5, "symbol": "bell.fill",
                  "image": "assets/icon.png"},
    "fill": "#000000CC", "stroke": "#FF00FF", "strokeWidth": 2, "cornerRadius": 0.1, "aspect": 1.5,
    "opacity": 0.8, "shadow": true, "z": 3, "platforms": ["ios", "android"], "targets": ["ios.iphone-6.9"],
    "style": {"weight": "semibold"}, "shadowStyle": {"color": "#000000", "opacity": 0.3, "blur": 0.05, "x": 0.01, "y": 0.02},
    "crop": {"x": 0.1, "y": 0.1, "width": 0.5, "height": 0.5}, "mask": "circle", "blur": 0.02,
    "path": "M0 0 L1 1", "blend": "soft-light", "decorative": false
  })");
  auto element = Reader(full).decode<SlideElement>();
  EXPECT_EQ(element.shape, ShapeKind::roundedRectangle);
  EXPECT_EQ(element.blend, BlendMode::softLight);
  EXPECT_EQ(element.decorative, false);
  EXPECT_EQ(element.platforms, (std::vector<Platform>{Platform::ios, Platform::android}));
  EXPECT_EQ(Coding<SlideElement>::write(element), full);
}

TEST(SlideElement, InvalidPlatformInListIsRefusedWithItsIndex) {
  EXPECT_EQ(decodingSummary<SlideElement>(R"({"id": "a", "kind": "text", "platforms": ["ios", "web"]})"),
            "Cannot initialize Platform from invalid String value web. Use ios or android. at .platforms[1]");
}

}  // namespace
}  // namespace vorno::slide_element_test
