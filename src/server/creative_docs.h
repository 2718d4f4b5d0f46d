// CreativeDocs: the words about creatives that both the creative_upsert tool and the targets
// resource show, built from the canvases so they never disagree with the code.
#pragma once

#include <string>

namespace vorno {

struct CreativeDocs {
  /// creative_upsert's description: the canvases with their safe areas, the rules of the safe
  /// area, the creative JSON, the store's rules for art, and motion.
  static std::string description();
  /// The "# Creative canvases (App Store, iOS 27)" section with its table.
  static std::string canvases();
};

}  // namespace vorno
