#pragma once
// Included first by every Objective-C++ file of the app. Framework objects are kept in C++
// members, lambdas and blocks, which retain and release them only under automatic reference
// counting; without it they would dangle silently.

#if !__has_feature(objc_arc)
#error "the app's Objective-C++ files must be compiled with automatic reference counting (-fobjc-arc, CLANG_ENABLE_OBJC_ARC)"
#endif
