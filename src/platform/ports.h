#pragma once

namespace tavlo {

class AudioInput;
class BackgroundQueue;
class Desktop;
class DesktopNotification;
class LoginItem;
class MainQueue;
class OutputVolume;
class PanelAppearance;
class RemoteControl;
class SecretStore;
class SoundPlayer;
class TrayHost;
class Workspace;

// All ports of one session, each with the backend that serves it.
struct Ports {
    MainQueue& queue;
    BackgroundQueue& background;
    AudioInput& audioInput;
    OutputVolume& outputVolume;
    SoundPlayer& sounds;
    SecretStore& secrets;
    Desktop& desktop;
    LoginItem& loginItem;
    Workspace& workspace;
    TrayHost& trayHost;
    PanelAppearance& panelAppearance;
    DesktopNotification& notification;
    RemoteControl& control;
};

}  // namespace tavlo
