' A pixel as text: VBScript does not compute with unsigned numbers of 16 and 32 bits before
' they are converted.
Function Shown(addressor, x, y)
    Shown = CStr(addressor(x, y))
End Function

' Writes a value into an image of its own and reads it back; the other pixels stay 0.
Sub CheckPixel(what, encoding, bits, value, expected)
    Dim addressor, x, y
    Set addressor = Attached(NewImage(encoding, bits, 1))
    addressor(2, 1) = value
    Check what, expected, Shown(addressor, 2, 1)
    Check what & ", by name", expected, CStr(addressor.Pixel(2, 1))
    addressor.Pixel(0, 1) = value
    Check what & ", put by name", expected, Shown(addressor, 0, 1)
    addressor.Pixel(0, 1) = 0
    For y = 0 To 1
        For x = 0 To 2
            If x <> 2 Or y <> 1 Then Check what & ", the pixel at " & x & ", " & y, "0", Shown(addressor, x, y)
        Next
    Next
End Sub

' --- every encoding and bit depth that has single pixels
Dim bits
CheckPixel "unsigned of 8 bits", 0, 8, 255, "255"
For bits = 9 To 16
    CheckPixel "unsigned of " & bits & " bits", 0, bits, 2 ^ bits - 1, CStr(2 ^ bits - 1)
Next
CheckPixel "unsigned of 32 bits", 0, 32, 4294967295, "4294967295"
CheckPixel "signed of 8 bits", 1, 8, -5, "-5"
CheckPixel "the lowest of 8 bits", 1, 8, -128, "-128"
CheckPixel "the highest of 8 bits", 1, 8, 127, "127"
For bits = 9 To 16
    CheckPixel "signed of " & bits & " bits", 1, bits, -(2 ^ (bits - 1)), CStr(-(2 ^ (bits - 1)))
Next
CheckPixel "signed of 32 bits", 1, 32, -2147483648, "-2147483648"
CheckPixel "float of 32 bits", 2, 32, -0.5, "-0.5"
CheckPixel "float of 64 bits", 2, 64, 1234567.25, "1234567.25"

' --- colours are packed as R + G * 256 + B * 65536 + A * 16777216, whatever their order
CheckPixel "RGB", 3, 24, 197121, "197121"
CheckPixel "BGR", 5, 24, 197121, "197121"
CheckPixel "RGBA", 4, 32, 2214789633, "2214789633"
CheckPixel "BGRA", 13, 32, 2214789633, "2214789633"
CheckPixel "RGB drops alpha", 3, 24, 2214789633, "197121"
CheckPixel "BGR drops alpha", 5, 24, 2214789633, "197121"
CheckPixel "a negative number is refused nowhere: RGBA of &H84030201", 4, 32, &H84030201, "2214789633"

' --- the types in which pixels arrive
Check "unsigned of 8 bits", "Byte", TypeName(Attached(NewImage(0, 8, 1))(0, 0))
Check "signed of 8 bits", "Long", TypeName(Attached(NewImage(1, 8, 1))(0, 0))
Check "signed of 16 bits", "Integer", TypeName(Attached(NewImage(1, 16, 1))(0, 0))
Check "signed of 32 bits", "Long", TypeName(Attached(NewImage(1, 32, 1))(0, 0))
Check "float of 32 bits", "Single", TypeName(Attached(NewImage(2, 32, 1))(0, 0))
Check "float of 64 bits", "Double", TypeName(Attached(NewImage(2, 64, 1))(0, 0))
Dim wide
Set wide = Attached(NewImage(0, 32, 1))
wide(0, 0) = 4294967295
Check "a converted pixel is computed with", 4294967296, CDbl(wide(0, 0)) + 1

' --- what is put is converted to the pixel's type
CheckPixel "text", 0, 8, "200", "200"
CheckPixel "text into colours", 3, 24, "197121", "197121"
CheckPixel "text into floats", 2, 64, "2", "2"
CheckPixel "fractions are rounded", 0, 8, 17.4, "17"
CheckPixel "true is -1, all bits of a byte", 0, 8, True, "255"
CheckPixel "nothing at all is 0", 0, 8, Empty, "0"

' --- refusals change nothing
Dim addressor, image
Set image = NewImage(0, 8, 1)
Set addressor = Attached(image)
addressor(1, 0) = 7
On Error Resume Next
addressor(1, 0) = "300"
CheckError "text beyond the range", overflow, Err.Description
addressor(1, 0) = 256
CheckError "a number beyond the range", overflow, Err.Description
addressor(1, 0) = -1
CheckError "a number below the range", overflow, Err.Description
addressor(1, 0) = "much"
CheckError "words", typeMismatch, Err.Description
addressor(1, 0) = Null
CheckError "null", typeMismatch, Err.Description
Check "the pixel", "7", Shown(addressor, 1, 0)
Dim negative
Set negative = Attached(NewImage(1, 8, 1))
negative(0, 0) = 128
CheckError "beyond signed bytes", overflow, Err.Description
negative(0, 0) = -129
CheckError "below signed bytes", overflow, Err.Description
Check "the signed pixel", "0", Shown(negative, 0, 0)

' --- images that have no single pixels
Dim value
addressor.Attach Nothing
CheckError "no image", invalidArgument, "null ITavlo2"
value = addressor(1, 0)
CheckError "a failed Attach lets the image go", accessDenied, Err.Description
addressor.Attach NewImage(0, 64, 1)
CheckError "unsigned of 64 bits", invalidArgument, "Unsupported Tavlo Encoding"
addressor.Attach NewImage(1, 64, 1)
CheckError "signed of 64 bits", invalidArgument, "Unsupported Tavlo Encoding"
addressor.Attach NewImage(10, 64, 1)
CheckError "complex", invalidArgument, "Unsupported Tavlo Encoding"
addressor.Attach NewImage(12, 128, 1)
CheckError "half complex", invalidArgument, "Unsupported Tavlo Encoding"
addressor.Attach NewImage(17, 64, 1)
CheckError "half complex of odd width", invalidArgument, "Unsupported Tavlo Encoding"
addressor.Attach NewImage(8, 4, 1)
CheckError "data", invalidArgument, "Unsupported Tavlo encoding/bits"
addressor.Attach NewImage(0, 24, 1)
CheckError "unsigned of 24 bits", invalidArgument, "Unsupported Tavlo encoding/bits"
addressor.Attach NewImage(14, 64, 1)
CheckError "vectors", invalidArgument, "Unsupported Tavlo encoding/bits"

' --- read-only images are read
Dim copy
Set addressor = Attached(image)
CheckError "attached again", 0, ""
addressor(0, 0) = 42
Set copy = Attached(image.Clone(0))
CheckError "a read-only copy is attached", 0, ""
Check "and read", "42", Shown(copy, 0, 0)
copy(0, 0) = 1
CheckError "and not written", accessDenied, Err.Description
Check "so it stays", "42", Shown(copy, 0, 0)
Set copy = Attached(NewImage(0, 8, 0))
copy(0, 0) = 1
CheckError "nor is an image made read-only", accessDenied, Err.Description

' --- the only writer is held until Detach
Dim second
Set second = Attached(image)
CheckError "a second addressor reads", 0, ""
Check "what the first wrote", "42", Shown(second, 0, 0)
second(0, 0) = 1
CheckError "and does not write", accessDenied, Err.Description
addressor.Detach
second.Attach image
second(0, 0) = 43
CheckError "until the first lets go", 0, ""
second.Detach
second.Detach
CheckError "letting go twice", 0, ""
value = second(0, 0)
CheckError "read after Detach", accessDenied, Err.Description
second(0, 0) = 1
CheckError "written after Detach", accessDenied, Err.Description

WScript.Echo "done: " & checks & " checks"
