' Makes an image and fills it with a ramp.
'
'     cscript create_and_fill.vbs

Option Explicit

Const Tavlo_Unsigned = 0
Const Tavlo_SingleWriter = 1

' A descriptor says what an image looks like. What is not set follows from what is: here
' 8 bits a pixel, packed rows, the first pixel in the first byte.
Dim descriptor
Set descriptor = CreateObject("Tavlo.TavloDescriptor")
descriptor.Encoding = Tavlo_Unsigned
descriptor.Width = 256
descriptor.Height = 4
WScript.Echo descriptor.Bits & " bits a pixel, " & descriptor.Stride_y & " bytes a row"

' The factory makes images in shared memory; every byte of a new one is 0.
Dim image
Set image = CreateObject("Tavlo.TavloFactory").Create(descriptor, Tavlo_SingleWriter)

' An addressor reads and writes single pixels. While it is attached to an image of
' Tavlo_SingleWriter, nobody else can write there.
Dim pixels, x, y
Set pixels = CreateObject("Tavlo.Addressor")
pixels.Attach image
For y = 0 To descriptor.Height - 1
    For x = 0 To descriptor.Width - 1
        pixels(x, y) = x
    Next
Next
WScript.Echo "from " & pixels(0, 0) & " to " & pixels(255, 3)

' Lets the image go, so that others may write.
pixels.Detach
