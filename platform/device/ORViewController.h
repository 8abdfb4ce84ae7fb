#pragma once
// The framework view controller that the main interface instantiates. It owns the
// logic's ViewController and forwards the lifecycle and touch events to it.

#import <ARKit/ARKit.h>
#import <UIKit/UIKit.h>

@interface ORViewController : UIViewController
@property(nonatomic, strong) IBOutlet ARSCNView* sceneView;
@end
