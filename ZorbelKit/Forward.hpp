#pragma once

/// Names of the kit's types, for headers that only pass them on.
namespace ZorbelKit {

class Alerts;
class AnyView;
class Canvas;
class Clock;
class Defaults;
class FileManager;
class FloatingPanels;
class Image;
class Language;
class Lifetime;
class MainLoop;
class Observable;
class Panels;
class Pasteboard;
class Picture;
class Pictures;
class Processes;
class SavePanel;
class Screens;
class Shortcuts;
class Spice;
class Stall;
class StatusBar;
class StatusItem;
class Steam;
class Token;
class Workspace;
struct Color;
struct Point;
struct Rect;
struct Size;
struct Uuid;

} // namespace ZorbelKit
