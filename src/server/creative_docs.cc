#include "server/creative_docs.h"

namespace vorno {

std::string CreativeDocs::description() {
  return "Create or replace a creative by id: App Store art beyond screenshots, shown on iOS 27 and iPadOS 27 and "
         "later.\n";
}

std::string CreativeDocs::canvases() { return "# Creative canvases (App Store, iOS 27)\n"; }

}  // namespace vorno
