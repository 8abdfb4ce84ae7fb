#pragma once
// The framework view controller that the main storyboard instantiates: the app's composition
// root on the device. It makes the logic's ViewController against the device platform and
// forwards the lifecycle and touch events to it.

#import <ARKit/ARKit.h>
#import <UIKit/UIKit.h>

@interface ORViewController : UIViewController
@property(nonatomic, strong) IBOutlet ARSCNView* sceneView;
@end
