#pragma once
#include "platform/Foundation/NSURL.h"
#include "platform/UIKit/UIViewController.h"

namespace tessaly {

/// Plays a movie file.
class AVPlayer : public Observable {
public:
    [[nodiscard]] static std::shared_ptr<AVPlayer> playerWithURL(const NSURL& url) {
        auto player = std::make_shared<AVPlayer>();
        player->url_ = url;
        return player;
    }
    [[nodiscard]] const NSURL& url() const noexcept { return url_; }
    [[nodiscard]] bool isPlaying() const noexcept { return playing_; }
    void play() { assign(playing_, true); }
    void pause() { assign(playing_, false); }

private:
    NSURL url_;
    bool playing_ = false;
};

/// The screen of a player, with its controls.
class AVPlayerViewController : public UIViewController {
public:
    [[nodiscard]] std::string_view interfaceName() const noexcept override { return "PlayerScreen"; }
    [[nodiscard]] const char* className() const noexcept override { return "AVPlayerViewController"; }
    [[nodiscard]] const std::shared_ptr<AVPlayer>& player() const noexcept { return player_; }
    void setPlayer(std::shared_ptr<AVPlayer> player) { player_ = std::move(player); }

private:
    std::shared_ptr<AVPlayer> player_;
};

}  // namespace tessaly
