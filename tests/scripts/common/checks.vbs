Option Explicit

Const invalidArgument = -2147024809
Const accessDenied = -2147024891
Const overflow = -2147352566
Const typeMismatch = -2147352571

Dim checks
checks = 0

Sub Check(what, expected, actual)
    checks = checks + 1
    If expected <> actual Then WScript.Echo "FAILED " & what & ": expected " & expected & ", got " & actual
End Sub

' The language has numbers of its own for some errors, and engines differ in when they
' use them.
Function ErrorCode()
    Select Case Err.Number
        Case 5
            ErrorCode = invalidArgument
        Case 6
            ErrorCode = overflow
        Case 13
            ErrorCode = typeMismatch
        Case 70
            ErrorCode = accessDenied
        Case Else
            ErrorCode = Err.Number
    End Select
End Function

' The error of what ran last, as it stands after On Error Resume Next.
Sub CheckCode(what, expected)
    Check what, expected, ErrorCode()
    Err.Clear
End Sub

' The same with its description.
Sub CheckError(what, expected, description)
    Check what, expected, ErrorCode()
    Check what & ", described", description, Err.Description
    Err.Clear
End Sub

Function NewImage(encoding, bits, access)
    Dim descriptor
    Set descriptor = CreateObject("Tavlo.TavloDescriptor")
    descriptor.Encoding = encoding
    descriptor.Bits = bits
    descriptor.Width = 3
    descriptor.Height = 2
    Set NewImage = CreateObject("Tavlo.TavloFactory").Create(descriptor, access)
End Function

Function Attached(image)
    Set Attached = CreateObject("Tavlo.Addressor")
    Attached.Attach image
End Function
