' --- the factory makes images
Dim factory, descriptor, image, copy, writer, reader
Set factory = CreateObject("Tavlo.TavloFactory")
Check "type name", "ITavloFactory2", TypeName(factory)
Set image = NewImage(0, 16, 1)
Check "type name", "ITavlo2", TypeName(image)
Check "width", 3, image.Descriptor.Width
Check "height", 2, image.Descriptor.Height
Check "bits", 16, image.Descriptor.Bits
Check "encoding", 0, image.Descriptor.Encoding
Check "offset", 0, image.Descriptor.Offset
Check "x stride", 2, image.Descriptor.Stride_x
Check "y stride", 6, image.Descriptor.Stride_y
Check "all bytes zero", 0, CLng(Attached(image)(2, 1))

' --- a descriptor is a copy
image.Descriptor.Width = 100
Check "the image keeps its width", 3, image.Descriptor.Width

' --- the size of one plane, whatever the signs of the strides
Check "rows", 307200, factory.GetSizeFor(640, 480, 1, 640)
Check "columns", 307200, factory.GetSizeFor(640, 480, 480, 1)
Check "equal strides", 40, factory.GetSizeFor(10, 10, 4, 4)
Check "upside down", 307200, factory.GetSizeFor(640, 480, 1, -640)
Check "mirrored", 307200, factory.GetSizeFor(640, 480, -480, 1)

' --- refusals, and what Err says of them
On Error Resume Next
Set descriptor = CreateObject("Tavlo.TavloDescriptor")
Set copy = factory.Create(descriptor, 1)
Check "a size of 0 is refused", True, Err.Number <> 0
Check "and described", "Creating the section failed: ", Left(Err.Description, 29)
Err.Clear
Set copy = factory.Create(Nothing, 1)
Check "no descriptor", -2147467261, ErrorCode()
Err.Clear
descriptor.Encoding = 0
descriptor.Width = 3
descriptor.Height = 2
Set copy = factory.Adopt("Tavlo test: nobody made this", descriptor, 1)
Check "a section that is not there", -2147024894, ErrorCode()
Check "and described", "Opening the section failed: ", Left(Err.Description, 28)
Err.Clear
Set copy = factory.Adopt("", descriptor, 1)
Check "no name", True, Err.Number <> 0
Check "and described", "Opening the section failed: ", Left(Err.Description, 28)
Err.Clear
Set copy = factory.Create(CreateObject("Tavlo.TavloDescriptor.1"), 1)
Check "a descriptor of several channels is for other clients", True, Err.Number <> 0
Err.Clear

' --- clones
Dim original
Set original = Attached(image)
original(1, 1) = 40000
Set copy = image.Clone(1)
CheckError "clone", 0, ""
Check "its bytes", 40000, CLng(Attached(copy)(1, 1))
original(1, 1) = 1
Check "are its own", 40000, CLng(Attached(copy)(1, 1))
Check "as is its geometry", 6, copy.Descriptor.Stride_y
Set writer = copy.GetWriteAccess()
CheckError "a single-writer clone is written", 0, ""
Set reader = copy.GetWriteAccess()
CheckError "by one at a time", accessDenied, Err.Description
Set writer = Nothing
Set reader = copy.GetWriteAccess()
CheckError "again", 0, ""
Set reader = Nothing
Set copy = image.Clone(0)
CheckError "read-only clone", 0, ""
Set writer = copy.GetWriteAccess()
CheckError "has a writer for good", accessDenied, Err.Description
Set copy = copy.Clone(2)
CheckError "a clone of it", 0, ""
Set writer = copy.GetWriteAccess()
CheckError "may be written", 0, ""
Set reader = copy.GetWriteAccess()
CheckError "by many", 0, ""
Check "its bytes", 1, CLng(Attached(copy)(1, 1))

' --- the end of an image
image.Dispose
CheckError "dispose without a hook", 0, ""
Check "changes nothing", 1, CLng(original(1, 1))
Set image = Nothing
Check "an addressor keeps its image", 1, CLng(original(1, 1))

WScript.Echo "done: " & checks & " checks"
