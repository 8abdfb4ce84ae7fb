// The application delegate. The window scene (SceneDelegate, Info.plist) makes the window and
// the view controller from Main.storyboard; this class only answers the application events.
#import <UIKit/UIKit.h>

@interface AppDelegate : UIResponder <UIApplicationDelegate>

@property(strong, nonatomic) UIWindow* window;

@end
