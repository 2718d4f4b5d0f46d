// asset_add: the user's own files into a package: images into assets/, device frames into
// assets/frames/, fonts into fonts/. Files, not project.json, so no package lock is taken.
//
// A new asset is first written under a hidden name beside its place and checked there; only a
// file that reads as what it claims to be is renamed into place. So a failed call never replaces
// a good asset of the same name, and nothing half-checked is left for a render to find.
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <filesystem>
#include <fstream>

#include "kit/devices/custom_frame.h"
#include "kit/image/images.h"
#include "kit/image/vector_image.h"
#include "kit/model/project.h"
#include "kit/store/file_name.h"
#include "kit/text/font_file_info.h"
#include "kit/util/atomic_write.h"
#include "kit/util/format.h"
#include "kit/util/vorno_error.h"
#include "kit/util/write_paths.h"
#include "server/tool_kit.h"
#include "server/schema.h"
#include "server/tool_context.h"
#include "server/tools.h"
#include "server/tools/asset_image.h"

namespace vorno {

namespace fs = std::filesystem;

namespace {

/// Whole pixels as integers, fractions (an SVG's user units) with one decimal.
std::string pixels(double value) {
  return value == std::round(value) ? formatted("%.0f", value) : formatted("%.1f", value);
}

/// A regular file (symbolic links followed) at the path, or the sentence that there is none.
fs::path existingFile(const ToolContext& context, const std::string& given) {
  fs::path path = context.resolve(given);
  std::error_code error;
  if (!fs::is_regular_file(path, error)) throw VornoError::notFound("No file at " + path.string() + ".");
  return path;
}

bool isPNG(const fs::path& path) {
  static const char signature[8] = {'\x89', 'P', 'N', 'G', '\r', '\n', '\x1a', '\n'};
  char head[8] = {};
  std::ifstream file(path, std::ios::binary);
  return file.read(head, sizeof head) && std::equal(head, head + 8, signature);
}

/// A hidden file beside `final` that keeps its extension (the vector readers go by it); removed
/// when the call fails before `commit`. The folder it is staged in is held open from the write to
/// the commit, so the asset is renamed into place in the folder that was looked at, whatever link
/// took that folder's name while the staged file was being checked.
class Staged {
 public:
  /// Stages `relative` below the package `base`, beside where it goes.
  Staged(const fs::path& base, const fs::path& relative)
      : base_(base),
        relative_(relative),
        stagingName_("." + randomUUID() + "-" + relative.filename().string()) {}
  ~Staged() {
    if (!committed_ && folder_.descriptor.valid()) ::unlinkat(folder_.descriptor.get(), stagingName_.c_str(), 0);
  }
  Staged(const Staged&) = delete;
  Staged& operator=(const Staged&) = delete;

  fs::path path() const { return base_ / relative_.parent_path() / stagingName_; }
  // Both reach the staging file's folder from the package without following a link.
  void write(std::string_view bytes) {
    open();
    atomicWriteInto(folder_.open(), stagingName_, bytes);
  }
  void copy(const fs::path& source) {
    open();
    atomicCopyInto(source, folder_.open(), stagingName_);
  }
  void commit() {
    renameInto(folder_.open(), stagingName_, relative_.filename().string());
    committed_ = true;
  }

 private:
  void open() { folder_ = openFolderBelow(base_, relative_.parent_path() / stagingName_); }

  fs::path base_;
  fs::path relative_;
  std::string stagingName_;
  HeldFolder folder_;
  bool committed_ = false;
};

class AssetAddTool final : public Tool {
 public:
  std::string name() const override { return "asset_add"; }

  std::string description() const override {
    return "Add an image to the project's assets/ folder for image elements: the user's icons, logos, badges, photos. "
           "PNG, JPEG, HEIC, PDF and SVG (vector stays sharp at any size). Give a local file path (e.g. the app icon "
           "from the repo) or SVG/PDF markup you wrote. Returns the path to use as an element's \"image\". With "
           "frame: true, saves a device frame PNG (transparent screen) into assets/frames/ and returns the path to "
           "use as a device's \"frame\". A font file (.ttf, .otf) goes into fonts/ and the result names its family, "
           "to use as a \"fontFamily\" (theme, textStyles, an element's style).";
  }

  mcp::Value inputSchema() const override {
    return Schema::object(
        {{"project", Schema::project()},
         {"name", Schema::string("File name to save as, e.g. logo.svg. The extension sets the format.")},
         {"source_path",
          Schema::string("Local file to copy (absolute, or relative to the working directory).")},
         {"svg", Schema::string("SVG markup to save instead of copying a file.")},
         {"frame", Schema::boolean("A device frame image: a PNG of a phone or tablet whose screen is transparent.")}},
        {"project", "name"});
  }

  ToolActivity activity(const Arguments& arguments) const override {
    return {"Added asset " + arguments.string("name").value_or(""), std::nullopt, std::nullopt, std::nullopt};
  }

  std::vector<Content> call(const Arguments& arguments, const ToolContext& context, ToolProgress&) const override {
    FileProjectStore store = context.store(arguments.requireString("project"));
    (void)store.load();  // a package must be there, or the file would land in a plain folder
    const std::string name = arguments.requireString("name");
    if (!FileName::isPlainFileName(name, {".png", ".jpg", ".jpeg", ".heic", ".pdf", ".svg", ".ttf", ".otf"}))
      throw VornoError::invalid(
          "name must be a plain file name ending in .png, .jpg, .heic, .pdf, .svg, .ttf or .otf.");
    const std::string extension = loweredExtension(name);
    if (extension == "ttf" || extension == "otf") return addFont(arguments, context, store, name);

    const bool frame = arguments.boolean("frame").value_or(false);
    const bool vector = VectorImage::isVector(name);
    const std::optional<std::string> svg = arguments.string("svg");
    fs::path source;
    std::optional<Size> size;
    if (svg) {
      if (extension != "svg") throw VornoError::invalid("Inline markup must be saved with an .svg name.");
    } else {
      source = existingFile(context, arguments.requireString("source_path"));
      // A bitmap is decoded before anything is written, so that a file the renderer would refuse
      // is never "Saved"; a frame that is no PNG is refused below with the frames' own sentence.
      const bool refusedAsFrame = frame && (extension != "png" || !isPNG(source));
      if (!vector && !refusedAsFrame) size = AssetImage::check(source.string(), name);
    }

    // The asset's place is the package's own: no folder on the way, nor the file, may be a link.
    const fs::path relative = frame ? fs::path("assets") / "frames" / name : fs::path("assets") / name;
    checkedWritePath(store.root(), relative);
    Staged staged(store.root(), relative);
    if (svg)
      staged.write(*svg);
    else
      staged.copy(source);

    if (frame) {
      if (extension != "png" || !isPNG(staged.path()))
        throw VornoError::invalid("Frames must be PNG images with a transparent screen.");
      CustomFrame::Measurement screen = CustomFrame::measure(Images::load(staged.path().string()));
      staged.commit();
      return {Content::plain("Saved assets/frames/" + name + ": screen " + std::to_string(screen.rect.width) + "×" +
                             std::to_string(screen.rect.height) + " px, corner radius " +
                             formatted("%.0f", screen.cornerRadius) + " px. Use \"frame\": \"assets/frames/" + name +
                             "\" on a device (or in device.platforms.ios/android). Captures should match the "
                             "screen's aspect.")};
    }

    if (vector) size = VectorImage::naturalSize(staged.path().string());
    if (!size) throw VornoError::invalid(name + " isn't a readable image.");
    staged.commit();
    return {Content::plain("Saved assets/" + name + " (" + pixels(size->width) + "×" + pixels(size->height) +
                           (vector ? ", vector" : "") + "). Use \"image\": \"assets/" + name +
                           "\" in an image element.")};
  }

 private:
  static std::vector<Content> addFont(const Arguments& arguments, const ToolContext& context,
                                      const FileProjectStore& store, const std::string& name) {
    std::optional<std::string> given = arguments.string("source_path");
    if (!given || given->empty()) throw VornoError::invalid("Fonts need source_path: a .ttf or .otf file.");
    fs::path source = existingFile(context, *given);
    std::optional<FontFileInfo> faces = FontFileInfo::read(source.string());
    if (!faces) throw VornoError::invalid(name + " isn't a readable font.");
    copyFileBelow(source, store.root(), fs::path("fonts") / name);

    std::string styles;
    for (const std::string& style : faces->styles) styles += (styles.empty() ? "" : ", ") + style;
    if (styles.empty()) styles = "Regular";
    return {Content::plain("Saved fonts/" + name + ": family " + faces->family + " (" + styles +
                           "). Use it as \"fontFamily\": \"" + faces->family +
                           "\" in the theme, in theme.textStyles.<role>, a slide's textStyles, or an element's style.")};
  }
};

}  // namespace

ToolList assetTools() { return {std::make_shared<AssetAddTool>()}; }

}  // namespace vorno
