' Reads a pixel of a colour image and takes it apart.
'
'     cscript read_pixel.vbs

Option Explicit

Const Tavlo_BGRA = 13
Const Tavlo_SingleWriter = 1

Dim descriptor, image, pixels
Set descriptor = CreateObject("Tavlo.TavloDescriptor")
descriptor.Encoding = Tavlo_BGRA
descriptor.Bits = 32 ' this encoding has no number of bits of its own
descriptor.Width = 2
descriptor.Height = 2
Set image = CreateObject("Tavlo.TavloFactory").Create(descriptor, Tavlo_SingleWriter)
Set pixels = CreateObject("Tavlo.Addressor")
pixels.Attach image

' A colour is one number, R + G * 256 + B * 65536 + A * 16777216, in whatever order the
' bytes lie in memory.
pixels(1, 0) = 10 + 20 * 256 + 30 * 65536 + 40 * 16777216

' Colours and unsigned pixels of more than 8 bits arrive as unsigned numbers. VBScript
' computes with them only after a conversion: CDbl holds all of them.
Dim colour
colour = CDbl(pixels(1, 0))
WScript.Echo "red " & Component(colour, 1)
WScript.Echo "green " & Component(colour, 256)
WScript.Echo "blue " & Component(colour, 65536)
WScript.Echo "alpha " & Component(colour, 16777216)

' Positions are not checked: one outside the image is outside its memory. Compare with the
' image's descriptor first where a position is not your own.
If InImage(image, 2, 0) Then WScript.Echo "(2, 0) is inside"
If Not InImage(image, 2, 0) Then WScript.Echo "(2, 0) is outside"

' Mod and And work on signed 32-bit numbers, which large colours are not.
Function Component(packed, unit)
    Component = Int(packed / unit) - 256 * Int(packed / unit / 256)
End Function

Function InImage(picture, x, y)
    Dim size
    Set size = picture.Descriptor
    InImage = x >= 0 And y >= 0 And x < size.Width And y < size.Height
End Function
