#include "platform/Foundation/NSBundle.h"
#include "platform/Foundation/NSUserDefaults.h"
#include "platform/UIKit/UIViewAppearance.h"
#include "settings/LanguageManager.h"
#include "settings/NSBundle+Language.h"

namespace tessaly::NSBundleLanguage {

void setLanguage(std::string_view code) {
    const bool rightToLeft = LanguageManager::isCurrentLanguageRTL();
    UIViewAppearance::appearance().semanticContentAttribute =
        rightToLeft ? UISemanticContentAttribute::forceRightToLeft : UISemanticContentAttribute::forceLeftToRight;
    const auto defaults = NSUserDefaults::standardUserDefaults();
    defaults->setObject(rightToLeft, "AppleTextDirection");
    defaults->setObject(rightToLeft, "NSForceRightToLeftWritingDirection");
    defaults->synchronize();
    NSBundle::mainBundle().setLanguage(code);
    // Plurals follow the main bundle's language, so the phrases must, too.
    NSBundle::dateToolsBundle().setLanguage(code);
}

}  // namespace tessaly::NSBundleLanguage
