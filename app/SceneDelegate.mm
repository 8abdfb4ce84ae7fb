#include "platform/device/RequireARC.h"

#import "app/SceneDelegate.h"

// Nothing of its own: the storyboard gives the window its view controller, and the session
// pauses and resumes through the view's appear and disappear events.
@implementation SceneDelegate
@end
