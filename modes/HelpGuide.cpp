#include "app/ViewController.h"
#include "platform/Fatal.h"

namespace orrery {

void ViewController::openHelpGuide() {
    // Parsed anew on every press; the page is the published copy of docs/guide.html.
    std::optional<NSURL> url = platform_.URLWithString("http://orrery-ar.github.io/orrery/guide.html");
    UIApplication& application = platform_.sharedApplication();
    if (!url) stopProgram();
    // No completion handler: a page that cannot be opened is not reported.
    application.openURLOptionsCompletionHandler(*url, {}, nullptr);
}

}  // namespace orrery
