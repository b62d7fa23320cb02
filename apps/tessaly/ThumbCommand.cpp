#include <cctype>
#include <filesystem>
#include <memory>

#include "CommandLine.h"
#include "Commands.h"
#include "FileWalk.h"
#include "Output.h"
#include "OutputFiles.h"
#include "PipedMedia.h"
#include "Utf8.h"
#include "acquisition/MediaFile.h"
#include "platform/AVFoundation/AVAssetImageGenerator.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/Foundation/NSFileManager.h"
#include "platform/ImageIO/CGImageSource.h"
#include "platform/UIKit/UIImage.h"

namespace tessaly::cli {
namespace {

struct ThumbOptions {
    std::vector<std::string> files;
    std::string output;
    std::int64_t size = 512;
    int quality = 85;
    std::string format;
    bool force = false;
    bool recursive = false;
};

/// A picture or why there is none.
struct Picture {
    CGImageRef image;
    std::string why;
};

Picture movieFrame(const std::string& path, std::int64_t size, CGImageSourceFault imageFault) {
    auto asset = AVAsset::assetWithURL(path);
    if (asset->fault != AVAssetFault::none)
        return {nullptr,
                std::string(describe(asset->fault == AVAssetFault::unknownFormat ? imageFault : asset->fault))};
    AVAssetImageGenerator generator(asset);
    generator.appliesPreferredTrackTransform = true;
    generator.maximumSize = {static_cast<double>(size), static_cast<double>(size)};
    Picture picture;
    DispatchSemaphore done;
    generator.generateCGImageAsynchronouslyForTime(0, [&](const CGImageRef& image, const std::string& error) {
        picture = {image, error};
        done.signal();
    });
    done.wait();
    return picture;
}

Picture thumbnailOf(const std::string& path, std::int64_t size) {
    CGImageSourceFault sourceFault{};
    const auto source = CGImageSourceCreateWithURL(path, &sourceFault);
    if (!source) return movieFrame(path, size, sourceFault);
    CGImageFault fault{};
    const Dictionary options{{kCGImageSourceCreateThumbnailWithTransform, true},
                             {kCGImageSourceThumbnailMaxPixelSize, size}};
    CGImageRef image = CGImageSourceCreateThumbnailAtIndex(source, 0, options, &fault);
    return {std::move(image), std::string(describe(fault))};
}

/// "out.png" is a file; an existing folder, or one that ends in a slash, takes a file a picture.
std::string targetOf(const ThumbOptions& options, const NamedFile& file, bool toFolder) {
    if (!toFolder) return options.output;
    return pathBelow(options.output, file, options.format.empty() ? ".jpg" : "." + options.format);
}

/// In small letters, with its dot.
std::string endingOf(const std::string& path) {
    std::string ending = std::filesystem::path(path).extension().string();
    for (char& c : ending) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return ending;
}

bool isPicture(const std::string& ending) { return ending == ".jpg" || ending == ".jpeg" || ending == ".png"; }

bool isPng(const ThumbOptions& options, const std::string& target) {
    return options.format.empty() ? endingOf(target) == ".png" : options.format == "png";
}

/// A name without an ending is a folder's, and so is whatever takes a tree.
bool takesFolder(const ThumbOptions& options) {
    const std::string ending = endingOf(options.output);
    return isFolder(options.output) || options.output.ends_with('/') ||
           (options.format.empty() && (ending.empty() || (options.recursive && !isPicture(ending))));
}

/// What is called a GIF and is a JPEG would deceive whoever opens it.
void checkEnding(const ThumbOptions& options, bool toFolder) {
    const std::string ending = endingOf(options.output);
    if (toFolder || isPicture(ending) || !options.format.empty()) return;
    throw CLI::ValidationError("--output: '" + options.output + "': pictures are written as .jpg or .png, not as " +
                               ending + "; --format says which of them a file of that name is to be");
}

bool writeThumbnail(const ThumbOptions& options, const std::string& path, const std::string& target) {
    if (const std::string why = makeFolderOf(target); !why.empty()) {
        complain(target, why);
        return false;
    }
    const PipedFile source = PipedFile::of(path);
    const Picture picture = source.why.empty() ? thumbnailOf(source.path, options.size) : Picture{nullptr, source.why};
    if (!picture.image) {
        complain(source.name, picture.why);
        return false;
    }
    const UIImageRef image = UIImage::imageWithCGImage(picture.image);
    const Data bytes = isPng(options, target) ? UIImagePNGRepresentation(image)
                                              : UIImageJPEGRepresentation(image, options.quality / 100.0);
    const std::string error = bytes ? writeDataAtomically(bytes, target, options.force) : "not enough memory";
    if (error.empty()) return true;
    const bool exists = !options.force && NSFileManager::fileExistsAtPath(target);
    complain(target, exists ? "there is a file already (--force replaces it)" : "cannot be written: " + error);
    return false;
}

int thumb(const ThumbOptions& options) {
    bool failed = false;
    std::vector<NamedFile> named = namedFilesBelow(options.files, options.recursive, failed);
    const bool toFolder = takesFolder(options);
    checkEnding(options, toFolder);
    for (NamedFile& file : named)
        if (isPiped(file.path)) file.below = "standard-input";
    if (!toFolder && named.size() > 1) throw CLI::ValidationError("--output: several files need a folder");
    std::vector<OutputFile> files;
    for (NamedFile& file : named) {
        std::string target = targetOf(options, file, toFolder);
        files.push_back({std::move(file), std::move(target)});
    }
    dropRepeated(files);
    if (complainOfCollisions(files, toFolder ? options.output : "", false)) return kUsage;
    Progress progress(files.size());
    for (const OutputFile& file : files) {
        progress.advance();
        if (writeThumbnail(options, file.input.path, file.path))
            Output::standard() << escaped(file.path) + "\n";
        else
            failed = true;
    }
    return failed ? kFailure : kSuccess;
}

}  // namespace

void addThumbCommand(CLI::App& program, int& status) {
    auto options = std::make_shared<ThumbOptions>();
    CLI::App* command = program.add_subcommand("thumb", "Write small pictures of photos and videos");
    command->add_option("FILE", options->files, "Photos and videos; '-- NAME' for a name that begins with '-'")
        ->required()
        ->type_name("");
    command->add_option("-o,--output", options->output, "The file (.jpg or .png), or a folder for one a picture")
        ->required()
        ->type_name("OUT");
    command->add_option("--size", options->size, "Pixels of the longer side, at most (512)")
        ->check(CLI::Range(std::int64_t{1}, std::int64_t{16384}))
        ->type_name("N");
    command->add_option("--quality", options->quality, "Of JPEG, 1 to 100 (85)")
        ->check(CLI::Range(1, 100))
        ->type_name("N");
    command->add_option("--format", options->format, "jpg or png, whatever the name says")
        ->check(CLI::IsMember({"jpg", "png"}))
        ->type_name("FORMAT");
    command->add_flag("--force", options->force, "Replace files that exist already");
    command->add_flag("-r,--recursive", options->recursive, "Do what is in folders");
    command->footer(
        "Made from the full picture, upright, in sRGB and without metadata; never larger than the picture. Of a video\n"
        "it is the first frame. In a folder the picture of photo.heic is photo.heic.jpg.");
    command->callback([options, &status] { status = thumb(*options); });
}

}  // namespace tessaly::cli
