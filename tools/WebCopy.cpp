// The asset folder made ready for the browser, where every byte is downloaded: opaque textures
// as JPEG, the star field's sky as its light over black in a JPEG (the renderer's loader makes
// its transparency again from that light), everything else as it is.

#include "AssetGen.h"

#include <stb_image.h>
#include <stb_image_write.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <tuple>
#include <utility>

namespace assetgen {

namespace {

namespace fs = std::filesystem;

std::string readBytes(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::string bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    if (!in && !in.eof()) throw std::runtime_error("cannot read " + file.string());
    return bytes;
}

void writeBytes(const fs::path& file, const std::string& bytes) {
    std::ofstream out(file, std::ios::binary);
    out << bytes;
    if (!out) throw std::runtime_error("cannot write " + file.string());
}

Image decodeRgba(const std::string& bytes, const fs::path& file) {
    int width = 0, height = 0, stored = 0;
    std::unique_ptr<stbi_uc, void (*)(void*)> pixels(
        stbi_load_from_memory(reinterpret_cast<const stbi_uc*>(bytes.data()), static_cast<int>(bytes.size()), &width,
                              &height, &stored, 4),
        stbi_image_free);
    if (!pixels) throw std::runtime_error("cannot decode " + file.string());
    Image image(width, height, 4);
    std::copy_n(pixels.get(), image.pixels.size(), image.pixels.begin());
    return image;
}

bool opaque(const Image& rgba) {
    for (std::size_t i = 3; i < rgba.pixels.size(); i += 4)
        if (rgba.pixels[i] != 255) return false;
    return true;
}

Image withoutAlpha(const Image& rgba) {
    Image rgb(rgba.width, rgba.height, 3);
    for (std::size_t i = 0, o = 0; i < rgba.pixels.size(); i += 4, o += 3)
        std::copy_n(&rgba.pixels[i], 3, &rgb.pixels[o]);
    return rgb;
}

/// The texture's light over black when it is a sky: every texel's opacity exactly, and its light
/// within a byte, what skyTexel makes of that light. An empty image otherwise (Saturn's rings:
/// their opacity is the ring density, not the light).
Image skyLightOf(const Image& rgba) {
    Image light(rgba.width, rgba.height, 3);
    for (std::size_t i = 0, o = 0; i < rgba.pixels.size(); i += 4, o += 3) {
        const auto texelLight = skyLight(&rgba.pixels[i]);
        const auto back = skyTexel({double(texelLight[0]), double(texelLight[1]), double(texelLight[2])});
        if (back[3] != rgba.pixels[i + 3]) return {};
        const auto backLight = skyLight(back.data());
        for (std::size_t c = 0; c < 3; ++c)
            if (std::abs(backLight[c] - texelLight[c]) > 1) return {};
        std::copy(texelLight.begin(), texelLight.end(), &light.pixels[o]);
    }
    return light;
}

std::string jpeg(const Image& rgb) {
    std::string bytes;
    const auto append = [](void* context, void* data, int size) {
        static_cast<std::string*>(context)->append(static_cast<const char*>(data), static_cast<std::size_t>(size));
    };
    if (!stbi_write_jpg_to_func(append, &bytes, rgb.width, rgb.height, 3, rgb.pixels.data(), kWebJpegQuality))
        throw std::runtime_error("JPEG encoding failed");
    return bytes;
}

/// The name and bytes a texture is shipped as: a JPEG beside it when one is smaller, else itself.
std::pair<fs::path, std::string> webTexture(const fs::path& relative, std::string png, const fs::path& file) {
    const Image rgba = decodeRgba(png, file);
    std::string smaller;
    fs::path name = relative;
    if (opaque(rgba)) {
        smaller = jpeg(withoutAlpha(rgba));
        name.replace_extension(".jpg");
    } else if (const Image light = skyLightOf(rgba); !light.pixels.empty()) {
        smaller = jpeg(light);
        name.replace_extension(".sky.jpg");
    }
    if (smaller.empty() || smaller.size() >= png.size()) return {relative, std::move(png)};
    return {name, std::move(smaller)};
}

void writeAll(const fs::path& source, const fs::path& target, std::vector<WebCopyFile>& written) {
    std::vector<fs::path> entries;
    for (const auto& entry : fs::recursive_directory_iterator(source)) entries.push_back(entry.path());
    std::sort(entries.begin(), entries.end());
    fs::create_directories(target);
    for (const fs::path& file : entries) {
        const fs::path relative = fs::relative(file, source);
        if (fs::is_directory(file)) {
            fs::create_directories(target / relative);
            continue;
        }
        if (!fs::is_regular_file(file)) throw std::runtime_error(file.string() + " is not a regular file");
        std::string bytes = readBytes(file);
        const std::uintmax_t sourceBytes = bytes.size();
        fs::path name = relative;
        if (relative.extension() == ".png") std::tie(name, bytes) = webTexture(relative, std::move(bytes), file);
        // A JPEG standing in for a PNG must not replace a file of the folder.
        if (name != relative && fs::exists(source / name))
            throw std::runtime_error((source / name).string() + " is in the way of " + file.string() + "'s JPEG");
        writeBytes(target / name, bytes);
        written.push_back({relative.generic_string(), name.generic_string(), sourceBytes, bytes.size()});
    }
}

}  // namespace

std::vector<WebCopyFile> writeWebCopy(const fs::path& source, const fs::path& target) {
    if (!fs::is_directory(source)) throw std::runtime_error(source.string() + " is not a folder");
    if (fs::exists(target)) throw std::runtime_error(target.string() + " exists already");
    // Written beside the target and renamed at the end, so a failure leaves no half-made copy.
    fs::path partial = target;
    partial += ".partial";
    fs::remove_all(partial);
    std::vector<WebCopyFile> written;
    try {
        writeAll(source, partial, written);
        fs::rename(partial, target);
    } catch (...) {
        std::error_code ignored;
        fs::remove_all(partial, ignored);
        throw;
    }
    return written;
}

}  // namespace assetgen
