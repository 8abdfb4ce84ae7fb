# Writes OrreryAR.xcodeproj/project.pbxproj and its shared scheme from DeviceBuild.cmake.
# Deterministic: every object identifier is derived from what the object stands for, and every
# list is sorted, so the same files give the same project byte for byte (tests/tools/xcodeproj
# checks the committed one).
#   cmake [-DROOT=<repository>] [-DOUTPUT=<file>] [-DSCHEME=<file>] -P tools/xcodeproj/generate.cmake
include("${CMAKE_CURRENT_LIST_DIR}/DeviceBuild.cmake")
# The repository: this file's, unless ROOT names another.
if(NOT ROOT)
  set(ROOT "${CMAKE_CURRENT_LIST_DIR}/../..")
endif()
get_filename_component(ROOT "${ROOT}" REALPATH)
if(NOT OUTPUT)
  set(OUTPUT "${ROOT}/${ORRERY_PRODUCT_NAME}.xcodeproj/project.pbxproj")
endif()
# The shared scheme, which `xcodebuild -scheme` needs (user schemes are never committed).
if(NOT SCHEME)
  set(SCHEME "${ROOT}/${ORRERY_PRODUCT_NAME}.xcodeproj/xcshareddata/xcschemes/${ORRERY_PRODUCT_NAME}.xcscheme")
endif()
set(T "\t")

# An object identifier: 24 hexadecimal digits derived from `key`.
function(object_id out key)
  string(SHA1 hash "${ORRERY_PRODUCT_NAME}:${key}")
  string(SUBSTRING "${hash}" 0 24 hash)
  string(TOUPPER "${hash}" hash)
  set(${out} "${hash}" PARENT_SCOPE)
endfunction()

# Adds an object to its isa section; sections and objects within them are written sorted.
function(add_object isa id text)
  set_property(GLOBAL APPEND PROPERTY sections "${isa}")
  set_property(GLOBAL APPEND PROPERTY "ids_${isa}" "${id}")
  set_property(GLOBAL PROPERTY "object_${id}" "${text}")
endfunction()

# Adds a child (group, file or variant group) to the group of folder `folder` ("" is the main group).
function(add_child folder name id comment)
  set_property(GLOBAL APPEND PROPERTY folders "${folder}")
  set_property(GLOBAL APPEND PROPERTY "children_${folder}" "${name}")
  set_property(GLOBAL PROPERTY "child_${folder}/${name}" "${id} /* ${comment} */")
endfunction()

# A file in the tree: its group is its folder, made on first use up to the main group.
function(add_file_reference path type out_id)
  object_id(id "file:${path}")
  get_filename_component(name "${path}" NAME)
  get_filename_component(folder "${path}" DIRECTORY)
  add_object(PBXFileReference "${id}"
    "${T}${T}${id} /* ${name} */ = {isa = PBXFileReference; lastKnownFileType = ${type}; path = ${name}; sourceTree = \"<group>\"; };\n")
  add_child("${folder}" "${name}" "${id}" "${name}")
  set(${out_id} "${id}" PARENT_SCOPE)
endfunction()

function(add_build_file phase path file_id name)
  object_id(id "build:${path}")
  add_object(PBXBuildFile "${id}"
    "${T}${T}${id} /* ${name} in ${phase} */ = {isa = PBXBuildFile; fileRef = ${file_id} /* ${name} */; };\n")
  set_property(GLOBAL APPEND PROPERTY "phase_${phase}" "${id} /* ${name} in ${phase} */")
endfunction()

function(file_type out path)
  get_filename_component(ext "${path}" LAST_EXT)
  set(types_.cpp sourcecode.cpp.cpp)
  set(types_.mm sourcecode.cpp.objcpp)
  set(types_.h sourcecode.c.h)
  set(types_.plist text.plist.xml)
  set(types_.xcassets folder.assetcatalog)
  set(types_.scnassets wrapper.scnassets)
  if(NOT types_${ext})
    message(FATAL_ERROR "no Xcode file type for ${path}")
  endif()
  set(${out} "${types_${ext}}" PARENT_SCOPE)
endfunction()

# Sources, headers and the property list.
orrery_device_sources(sources "${ROOT}")
foreach(path IN LISTS sources)
  file_type(type "${path}")
  add_file_reference("${path}" "${type}" id)
  get_filename_component(name "${path}" NAME)
  add_build_file(Sources "${path}" "${id}" "${name}")
endforeach()
orrery_glob(headers "${ROOT}" ${ORRERY_DEVICE_HEADER_PATTERNS})
foreach(path IN LISTS headers ORRERY_INFO_PLIST)
  file_type(type "${path}")
  add_file_reference("${path}" "${type}" id)
endforeach()

# Resources: the storyboards (variant groups of their Base localisation), the asset catalog and the models.
foreach(storyboard IN LISTS ORRERY_STORYBOARDS)
  set(name "${storyboard}.storyboard")
  object_id(base "file:app/Base.lproj/${name}")
  object_id(variant "variant:${name}")
  add_object(PBXFileReference "${base}"
    "${T}${T}${base} /* Base */ = {isa = PBXFileReference; lastKnownFileType = file.storyboard; name = Base; path = Base.lproj/${name}; sourceTree = \"<group>\"; };\n")
  add_object(PBXVariantGroup "${variant}"
    "${T}${T}${variant} /* ${name} */ = {\n${T}${T}${T}isa = PBXVariantGroup;\n${T}${T}${T}children = (\n${T}${T}${T}${T}${base} /* Base */,\n${T}${T}${T});\n${T}${T}${T}name = ${name};\n${T}${T}${T}sourceTree = \"<group>\";\n${T}${T}};\n")
  add_child(app "${name}" "${variant}" "${name}")
  add_build_file(Resources "app/${name}" "${variant}" "${name}")
endforeach()
foreach(path IN LISTS ORRERY_ASSET_CATALOG ORRERY_MODEL_FOLDER)
  file_type(type "${path}")
  add_file_reference("${path}" "${type}" id)
  get_filename_component(name "${path}" NAME)
  add_build_file(Resources "${path}" "${id}" "${name}")
endforeach()

# Frameworks, from the SDK.
foreach(framework IN LISTS ORRERY_DEVICE_FRAMEWORKS)
  set(name "${framework}.framework")
  object_id(id "framework:${name}")
  add_object(PBXFileReference "${id}"
    "${T}${T}${id} /* ${name} */ = {isa = PBXFileReference; lastKnownFileType = wrapper.framework; name = ${name}; path = System/Library/Frameworks/${name}; sourceTree = SDKROOT; };\n")
  set_property(GLOBAL APPEND PROPERTY frameworks_group "${id} /* ${name} */")
  add_build_file(Frameworks "framework:${name}" "${id}" "${name}")
endforeach()

# The product.
set(app "${ORRERY_PRODUCT_NAME}.app")
object_id(product "product:${app}")
add_object(PBXFileReference "${product}"
  "${T}${T}${product} /* ${app} */ = {isa = PBXFileReference; explicitFileType = wrapper.application; includeInIndex = 0; path = ${app}; sourceTree = BUILT_PRODUCTS_DIR; };\n")

# A "( item, item, )" list at the given depth of tabs.
function(item_list out depth)
  string(REPEAT "${T}" ${depth} indent)
  set(text "(\n")
  foreach(item IN LISTS ARGN)
    string(APPEND text "${indent}${T}${item},\n")
  endforeach()
  set(${out} "${text}${indent})" PARENT_SCOPE)
endfunction()

# Groups: one per folder, nested like the folders; each lists its children by name.
get_property(folders GLOBAL PROPERTY folders)
set(all_folders)
foreach(folder IN LISTS folders)
  while(NOT folder STREQUAL "")
    list(APPEND all_folders "${folder}")
    get_filename_component(parent "${folder}" DIRECTORY)
    get_filename_component(name "${folder}" NAME)
    object_id(id "group:${folder}")
    add_child("${parent}" "${name}" "${id}" "${name}")
    set(folder "${parent}")
  endwhile()
endforeach()
list(REMOVE_DUPLICATES all_folders)
object_id(frameworks_group "group:Frameworks")
object_id(products_group "group:Products")
object_id(main_group "group:")
foreach(folder IN LISTS all_folders ITEMS "")
  get_property(names GLOBAL PROPERTY "children_${folder}")
  list(REMOVE_DUPLICATES names)
  list(SORT names)
  set(children)
  foreach(name IN LISTS names)
    get_property(child GLOBAL PROPERTY "child_${folder}/${name}")
    list(APPEND children "${child}")
  endforeach()
  if(folder STREQUAL "")
    list(APPEND children "${frameworks_group} /* Frameworks */" "${products_group} /* Products */")
    item_list(list 3 ${children})
    add_object(PBXGroup "${main_group}"
      "${T}${T}${main_group} = {\n${T}${T}${T}isa = PBXGroup;\n${T}${T}${T}children = ${list};\n${T}${T}${T}sourceTree = \"<group>\";\n${T}${T}};\n")
  else()
    object_id(id "group:${folder}")
    get_filename_component(name "${folder}" NAME)
    item_list(list 3 ${children})
    add_object(PBXGroup "${id}"
      "${T}${T}${id} /* ${name} */ = {\n${T}${T}${T}isa = PBXGroup;\n${T}${T}${T}children = ${list};\n${T}${T}${T}path = ${name};\n${T}${T}${T}sourceTree = \"<group>\";\n${T}${T}};\n")
  endif()
endforeach()
get_property(framework_refs GLOBAL PROPERTY frameworks_group)
item_list(list 3 ${framework_refs})
add_object(PBXGroup "${frameworks_group}"
  "${T}${T}${frameworks_group} /* Frameworks */ = {\n${T}${T}${T}isa = PBXGroup;\n${T}${T}${T}children = ${list};\n${T}${T}${T}name = Frameworks;\n${T}${T}${T}sourceTree = \"<group>\";\n${T}${T}};\n")
item_list(list 3 "${product} /* ${app} */")
add_object(PBXGroup "${products_group}"
  "${T}${T}${products_group} /* Products */ = {\n${T}${T}${T}isa = PBXGroup;\n${T}${T}${T}children = ${list};\n${T}${T}${T}name = Products;\n${T}${T}${T}sourceTree = \"<group>\";\n${T}${T}};\n")

# Build phases.
set(phase_ids)
set(phase_names Sources Frameworks Resources)
set(phase_isas PBXSourcesBuildPhase PBXFrameworksBuildPhase PBXResourcesBuildPhase)
foreach(phase isa IN ZIP_LISTS phase_names phase_isas)
  object_id(id "phase:${phase}")
  get_property(files GLOBAL PROPERTY "phase_${phase}")
  item_list(list 3 ${files})
  add_object(${isa} "${id}"
    "${T}${T}${id} /* ${phase} */ = {\n${T}${T}${T}isa = ${isa};\n${T}${T}${T}buildActionMask = 2147483647;\n${T}${T}${T}files = ${list};\n${T}${T}${T}runOnlyForDeploymentPostprocessing = 0;\n${T}${T}};\n")
  list(APPEND phase_ids "${id} /* ${phase} */")
endforeach()

# Build settings: `settings_<configuration>` are name=value pairs; values are written as given.
# Warnings are shown, not errors: a newer compiler's new warning must not stop someone who only
# wants to run the app. CI builds with them as errors (scripts/device-build.sh, the macOS job).
string(REPLACE ";" "\",\n${T}${T}${T}${T}${T}\"" warnings "${ORRERY_DEVICE_WARNINGS}")
set(project_settings
  "ALWAYS_SEARCH_USER_PATHS = NO"
  "CLANG_CXX_LANGUAGE_STANDARD = \"c++20\""
  "CLANG_CXX_LIBRARY = \"libc++\""
  "CLANG_ENABLE_MODULES = NO"
  "CLANG_ENABLE_OBJC_ARC = YES"
  "COPY_PHASE_STRIP = NO"
  "ENABLE_STRICT_OBJC_MSGSEND = YES"
  "HEADER_SEARCH_PATHS = \"$(SRCROOT)\""
  "IPHONEOS_DEPLOYMENT_TARGET = ${ORRERY_IOS_DEPLOYMENT_TARGET}"
  "SDKROOT = iphoneos"
  "USE_HEADERMAP = NO"
  "WARNING_CFLAGS = (\n${T}${T}${T}${T}${T}\"${warnings}\",\n${T}${T}${T}${T})")
set(project_Debug
  "DEBUG_INFORMATION_FORMAT = dwarf"
  "ENABLE_TESTABILITY = YES"
  "GCC_OPTIMIZATION_LEVEL = 0"
  "GCC_PREPROCESSOR_DEFINITIONS = (\n${T}${T}${T}${T}${T}\"DEBUG=1\",\n${T}${T}${T}${T}${T}\"$(inherited)\",\n${T}${T}${T}${T})"
  "ONLY_ACTIVE_ARCH = YES")
set(project_Release
  "DEBUG_INFORMATION_FORMAT = \"dwarf-with-dsym\""
  "GCC_OPTIMIZATION_LEVEL = s"
  "VALIDATE_PRODUCT = YES")
set(target_settings
  "ASSETCATALOG_COMPILER_APPICON_NAME = AppIcon"
  "CODE_SIGN_STYLE = Automatic"
  "CURRENT_PROJECT_VERSION = ${ORRERY_BUILD_NUMBER}"
  "GENERATE_INFOPLIST_FILE = NO"
  "INFOPLIST_FILE = ${ORRERY_INFO_PLIST}"
  "LD_RUNPATH_SEARCH_PATHS = (\n${T}${T}${T}${T}${T}\"$(inherited)\",\n${T}${T}${T}${T}${T}\"@executable_path/Frameworks\",\n${T}${T}${T}${T})"
  "MARKETING_VERSION = ${ORRERY_MARKETING_VERSION}"
  "PRODUCT_BUNDLE_IDENTIFIER = ${ORRERY_BUNDLE_IDENTIFIER}"
  "PRODUCT_NAME = \"$(TARGET_NAME)\""
  "TARGETED_DEVICE_FAMILY = \"1,2\"")
set(target_Debug)
set(target_Release)

function(add_configuration_list owner comment out)
  set(configurations)
  foreach(configuration Debug Release)
    object_id(id "configuration:${owner}:${configuration}")
    set(settings ${${owner}_settings} ${${owner}_${configuration}})
    list(SORT settings)
    set(text "")
    foreach(setting IN LISTS settings)
      string(APPEND text "${T}${T}${T}${T}${setting};\n")
    endforeach()
    add_object(XCBuildConfiguration "${id}"
      "${T}${T}${id} /* ${configuration} */ = {\n${T}${T}${T}isa = XCBuildConfiguration;\n${T}${T}${T}buildSettings = {\n${text}${T}${T}${T}};\n${T}${T}${T}name = ${configuration};\n${T}${T}};\n")
    list(APPEND configurations "${id} /* ${configuration} */")
  endforeach()
  object_id(id "configuration-list:${owner}")
  item_list(list 3 ${configurations})
  add_object(XCConfigurationList "${id}"
    "${T}${T}${id} /* Build configuration list for ${comment} */ = {\n${T}${T}${T}isa = XCConfigurationList;\n${T}${T}${T}buildConfigurations = ${list};\n${T}${T}${T}defaultConfigurationIsVisible = 0;\n${T}${T}${T}defaultConfigurationName = Release;\n${T}${T}};\n")
  set(${out} "${id} /* Build configuration list for ${comment} */" PARENT_SCOPE)
endfunction()

set(name "${ORRERY_PRODUCT_NAME}")
add_configuration_list(project "PBXProject \"${name}\"" project_configurations)
add_configuration_list(target "PBXNativeTarget \"${name}\"" target_configurations)

object_id(target "target:${name}")
item_list(phases 3 ${phase_ids})
add_object(PBXNativeTarget "${target}"
  "${T}${T}${target} /* ${name} */ = {\n${T}${T}${T}isa = PBXNativeTarget;\n${T}${T}${T}buildConfigurationList = ${target_configurations};\n${T}${T}${T}buildPhases = ${phases};\n${T}${T}${T}buildRules = (\n${T}${T}${T});\n${T}${T}${T}dependencies = (\n${T}${T}${T});\n${T}${T}${T}name = ${name};\n${T}${T}${T}productName = ${name};\n${T}${T}${T}productReference = ${product} /* ${app} */;\n${T}${T}${T}productType = \"com.apple.product-type.application\";\n${T}${T}};\n")

object_id(project "project")
add_object(PBXProject "${project}"
  "${T}${T}${project} /* Project object */ = {\n${T}${T}${T}isa = PBXProject;\n${T}${T}${T}attributes = {\n${T}${T}${T}${T}BuildIndependentTargetsInParallel = 1;\n${T}${T}${T}${T}LastUpgradeCheck = 1500;\n${T}${T}${T}${T}TargetAttributes = {\n${T}${T}${T}${T}${T}${target} = {\n${T}${T}${T}${T}${T}${T}CreatedOnToolsVersion = 15.0;\n${T}${T}${T}${T}${T}};\n${T}${T}${T}${T}};\n${T}${T}${T}};\n${T}${T}${T}buildConfigurationList = ${project_configurations};\n${T}${T}${T}compatibilityVersion = \"Xcode 14.0\";\n${T}${T}${T}developmentRegion = en;\n${T}${T}${T}hasScannedForEncodings = 0;\n${T}${T}${T}knownRegions = (\n${T}${T}${T}${T}en,\n${T}${T}${T}${T}Base,\n${T}${T}${T});\n${T}${T}${T}mainGroup = ${main_group};\n${T}${T}${T}productRefGroup = ${products_group} /* Products */;\n${T}${T}${T}projectDirPath = \"\";\n${T}${T}${T}projectRoot = \"\";\n${T}${T}${T}targets = (\n${T}${T}${T}${T}${target} /* ${name} */,\n${T}${T}${T});\n${T}${T}};\n")

# The file: sections in name order, objects in identifier order.
set(text "// !$*UTF8*$!\n{\n${T}archiveVersion = 1;\n${T}classes = {\n${T}};\n${T}objectVersion = 56;\n${T}objects = {\n")
get_property(sections GLOBAL PROPERTY sections)
list(REMOVE_DUPLICATES sections)
list(SORT sections)
foreach(isa IN LISTS sections)
  string(APPEND text "\n/* Begin ${isa} section */\n")
  get_property(ids GLOBAL PROPERTY "ids_${isa}")
  list(REMOVE_DUPLICATES ids)
  list(SORT ids)
  foreach(id IN LISTS ids)
    get_property(object GLOBAL PROPERTY "object_${id}")
    string(APPEND text "${object}")
  endforeach()
  string(APPEND text "/* End ${isa} section */\n")
endforeach()
string(APPEND text "${T}};\n${T}rootObject = ${project} /* Project object */;\n}\n")
file(WRITE "${OUTPUT}" "${text}")

# The shared scheme: build, run (Debug), profile and archive (Release) the app target.
set(reference "<BuildableReference\n@@   BuildableIdentifier = \"primary\"\n@@   BlueprintIdentifier = \"${target}\"\n@@   BuildableName = \"${app}\"\n@@   BlueprintName = \"${name}\"\n@@   ReferencedContainer = \"container:${name}.xcodeproj\">\n@@</BuildableReference>\n")
# The reference indented by `depth` steps of three spaces, as Xcode writes schemes.
function(scheme_reference out depth)
  string(REPEAT "   " ${depth} indent)
  string(REPLACE "@@" "${indent}" text "${indent}${reference}")
  set(${out} "${text}" PARENT_SCOPE)
endfunction()
scheme_reference(build_reference 4)
scheme_reference(run_reference 3)
# What running and profiling start: the app.
set(runnable "      <BuildableProductRunnable\n         runnableDebuggingMode = \"0\">\n${run_reference}      </BuildableProductRunnable>\n")
set(debugger "selectedDebuggerIdentifier = \"Xcode.DebuggerFoundation.Debugger.LLDB\"\n      selectedLauncherIdentifier = \"Xcode.DebuggerFoundation.Launcher.LLDB\"")
file(WRITE "${SCHEME}" "<?xml version=\"1.0\" encoding=\"UTF-8\"?>
<Scheme
   LastUpgradeVersion = \"1500\"
   version = \"1.7\">
   <BuildAction
      parallelizeBuildables = \"YES\"
      buildImplicitDependencies = \"YES\">
      <BuildActionEntries>
         <BuildActionEntry
            buildForTesting = \"YES\"
            buildForRunning = \"YES\"
            buildForProfiling = \"YES\"
            buildForArchiving = \"YES\"
            buildForAnalyzing = \"YES\">
${build_reference}         </BuildActionEntry>
      </BuildActionEntries>
   </BuildAction>
   <TestAction
      buildConfiguration = \"Debug\"
      ${debugger}
      shouldUseLaunchSchemeArgsEnv = \"YES\">
   </TestAction>
   <LaunchAction
      buildConfiguration = \"Debug\"
      ${debugger}
      launchStyle = \"0\"
      useCustomWorkingDirectory = \"NO\"
      ignoresPersistentStateOnLaunch = \"NO\"
      debugDocumentVersioning = \"YES\"
      debugServiceExtension = \"internal\"
      allowLocationSimulation = \"YES\">
${runnable}   </LaunchAction>
   <ProfileAction
      buildConfiguration = \"Release\"
      shouldUseLaunchSchemeArgsEnv = \"YES\"
      savedToolIdentifier = \"\"
      useCustomWorkingDirectory = \"NO\"
      debugDocumentVersioning = \"YES\">
${runnable}   </ProfileAction>
   <AnalyzeAction
      buildConfiguration = \"Debug\">
   </AnalyzeAction>
   <ArchiveAction
      buildConfiguration = \"Release\"
      revealArchiveInOrganizer = \"YES\">
   </ArchiveAction>
</Scheme>
")
