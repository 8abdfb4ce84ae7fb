#pragma once
// The window scene's delegate. Apps built with current SDKs must adopt the scene life cycle to
// launch at all; Info.plist's scene manifest names this class and the main storyboard, and UIKit
// makes the window and the view controller from that storyboard and keeps the window here.
#import <UIKit/UIKit.h>

@interface SceneDelegate : UIResponder <UIWindowSceneDelegate>

@property(strong, nonatomic) UIWindow* window;

@end
