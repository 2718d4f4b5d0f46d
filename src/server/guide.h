// Guide: what an agent reads before it designs, served as three Markdown resources. The design
// guide and the recipes are written texts installed with the program; the targets table is
// generated from the store targets at each read, so it can never disagree with the code.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "mcp/value.h"

namespace vorno {

struct GuideResource {
  std::string name;
  std::string uri;
  std::string description;
  std::string mimeType = "text/markdown";

  mcp::Value toValue() const;
};

struct Guide {
  /// vorno://guide, vorno://targets, vorno://recipes, in that order.
  static const std::vector<GuideResource>& resources();
  /// The text of a resource; none for another uri (compared whole).
  static std::optional<std::string> text(std::string_view uri);
  /// The generated vorno://targets text.
  static std::string targets();
  /// An authored document: `fileName` from the first of `folders` that holds it. When none does,
  /// a short Markdown text under `title` that names the folders and how to repair the install.
  static std::string authored(const std::string& fileName, const std::string& title,
                              const std::vector<std::string>& folders);
  /// Where the authored documents are looked for: $VORNO_SHARE_DIR, the share folder installed beside
  /// the program,
  /// then the source tree's resources (the folders of the symbol table).
  static std::vector<std::string> folders();
};

}  // namespace vorno
