' Prints the next two updates of a published image:
'
'     tavlo script watch.vbs scan
'
' Events come while the script sleeps. A reflector raises them: the prefix of its handlers'
' names is given where it is made.
Option Explicit

Dim reflector, count
count = 0
Set reflector = WScript.CreateObject("Tavlo.TavloEventsReflector", "Image_")
reflector.Connect image
WScript.Echo "watching " & image.Descriptor.Width & " x " & image.Descriptor.Height & " pixels"

Do While count < 2
    WScript.Sleep 100
Loop

' A reflector that is done with an image says so, rather than being dropped.
reflector.Disconnect

Sub Image_OnImageUpdate(dirty)
    count = count + 1
    WScript.Echo dirty.Left & ", " & dirty.Top & " to " & dirty.Right & ", " & dirty.Bottom
End Sub
