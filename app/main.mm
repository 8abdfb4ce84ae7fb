#include "platform/device/RequireARC.h"

#import <UIKit/UIKit.h>

#import "app/AppDelegate.h"

int main(int argc, char* argv[]) {
    @autoreleasepool {
        UIApplicationMain(argc, argv, nil, NSStringFromClass([AppDelegate class]));
    }
    return 0;
}
