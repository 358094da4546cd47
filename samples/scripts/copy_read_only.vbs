' Copies a picture that may not be written and changes the copy.
'
'     cscript copy_read_only.vbs

Option Explicit

Const Tavlo_Unsigned = 0
Const Tavlo_ReadOnly = 0
Const Tavlo_SingleWriter = 1

' Some picture that somebody gave away for reading only.
Dim picture
Set picture = SomePicture()

Dim pixels
Set pixels = CreateObject("Tavlo.Addressor")
pixels.Attach picture
WScript.Echo "the picture has " & pixels(1, 1)

' An addressor attaches to a read-only picture for reading; only writing is refused.
On Error Resume Next
pixels(1, 1) = 0
If Err.Number <> 0 Then WScript.Echo "writing is refused"
Err.Clear
On Error GoTo 0

' A clone has the same geometry and a copy of the pixels. Who may write it is said anew.
Dim copied, changed
Set copied = picture.Clone(Tavlo_SingleWriter)
Set changed = CreateObject("Tavlo.Addressor")
changed.Attach copied
changed(1, 1) = 2 * changed(1, 1)
WScript.Echo "the copy has " & changed(1, 1)
WScript.Echo "the picture still has " & pixels(1, 1)

Function SomePicture()
    Dim descriptor, draft, pen
    Set descriptor = CreateObject("Tavlo.TavloDescriptor")
    descriptor.Encoding = Tavlo_Unsigned
    descriptor.Width = 3
    descriptor.Height = 3
    Set draft = CreateObject("Tavlo.TavloFactory").Create(descriptor, Tavlo_SingleWriter)
    Set pen = CreateObject("Tavlo.Addressor")
    pen.Attach draft
    pen(1, 1) = 100
    ' A clone of Tavlo_ReadOnly can never be written by anybody.
    Set SomePicture = draft.Clone(Tavlo_ReadOnly)
End Function
