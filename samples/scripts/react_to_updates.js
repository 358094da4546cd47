// Connects to an image's updates and disconnects again.
//
//     cscript react_to_updates.js

var Tavlo_Unsigned = 0;
var Tavlo_MultipleWriters = 2;

var descriptor = new ActiveXObject("Tavlo.TavloDescriptor");
descriptor.Encoding = Tavlo_Unsigned;
descriptor.Width = 640;
descriptor.Height = 480;
var factory = new ActiveXObject("Tavlo.TavloFactory");
var image = factory.Create(descriptor, Tavlo_MultipleWriters);

// A reflector raises the event OnImageUpdate whenever a writer says that pixels have
// changed. Its argument has the edges of what changed: Left, Top, Right, Bottom; right and
// bottom are the first column and row outside.
function OnImageUpdate(dirty) {
    WScript.Echo("columns " + dirty.Left + " to " + (dirty.Right - 1) + ", rows " + dirty.Top + " to " +
        (dirty.Bottom - 1));
}

// How the handler is tied to the event is the host's business, for a script language has
// no events of its own:
// - In the script host, WScript.ConnectObject(reflector, "reflector_") finds a function
//   reflector_OnImageUpdate.
// - In a page or an application, the host ties functions to the objects that it names, for
//   example <script for="reflector" event="OnImageUpdate(dirty)">.
// - A host of your own looks the default source of events up in the reflector's type
//   library and advises its connection point.
// Events come in the apartment in which Connect was called, while its host takes messages;
// a host that waits without taking messages sees none. Writers never wait for handlers, and
// updates that come faster than they are handled arrive merged into one rectangle.
var reflector = new ActiveXObject("Tavlo.TavloEventsReflector");
reflector.Connect(image);
WScript.Echo("connected");

// Connecting to another image ends the connection to the one before.
reflector.Connect(image.Clone(Tavlo_MultipleWriters));
WScript.Echo("connected to another image");

// No image is an error. It leaves the reflector as it was.
try {
    reflector.Connect(null);
} catch (error) {
    WScript.Echo("not connected to nothing");
}

// Disconnect before the reflector goes: else the image keeps telling an empty place.
reflector.Disconnect();
WScript.Echo("disconnected");
