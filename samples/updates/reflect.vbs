' Connects a reflector to an image, as a script does that wants to handle its updates.
' Tavlo.dll, TavloPS.dll and the common type library must be registered.
Option Explicit

Dim descriptor, image, reflector
Set descriptor = CreateObject("Tavlo.TavloDescriptor")
descriptor.Encoding = 0
descriptor.Width = 640
descriptor.Height = 480
Set image = CreateObject("Tavlo.TavloFactory").Create(descriptor, 1)

Set reflector = CreateObject("Tavlo.TavloEventsReflector")

' Here a host connects the script's procedure to the event, for instance
'     WScript.ConnectObject reflector, "Image_"
' and from then on Image_OnImageUpdate(dirty) is called with a rectangle that has
' Left, Top, Right and Bottom.

reflector.Connect image
WScript.Echo "connected to " & image.Descriptor.Width & " x " & image.Descriptor.Height

' A reflector that is done with an image says so, rather than being dropped.
reflector.Disconnect
WScript.Echo "done"
