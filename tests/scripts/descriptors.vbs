' --- the descriptor of one channel derives what is not set
Dim one
Set one = CreateObject("Tavlo.TavloDescriptor")
Check "fresh width", 0, one.Width
Check "fresh height", 0, one.Height
Check "fresh bits", 0, one.Bits
Check "fresh encoding", 8, one.Encoding
Check "fresh offset", 0, one.Offset
Check "fresh x stride", 0, one.Stride_x
Check "fresh y stride", 0, one.Stride_y
one.Encoding = 3
one.Width = 10
Check "bits of RGB", 24, one.Bits
Check "x stride of RGB", 3, one.Stride_x
Check "y stride of RGB", 30, one.Stride_y
Check "offset of RGB", 0, one.Offset
one.Height = 5
one.Stride_y = -30
Check "offset of mirrored rows", 120, one.Offset
one.Offset = 7
one.Height = 6
Check "explicit offset", 7, one.Offset
Check "type name", "ITavloDescriptor2", TypeName(one)

Dim twelve
Set twelve = CreateObject("Tavlo.TavloDescriptor.2")
twelve.Encoding = 0
twelve.Bits = 12
Check "12 bits stay", 12, twelve.Bits
Check "12 bits take two bytes", 2, twelve.Stride_x

' --- the descriptor of several channels stores what it is given
Dim many
Set many = CreateObject("Tavlo.TavloDescriptor.1")
Check "type name", "ITavloDescriptor", TypeName(many)
Check "fresh channels", 0, many.Channels
many.Channels = 3
many.Width = 4
many.Bits(1) = 16
many.Encoding(1) = 2
many.Offset(1) = 48
many.Stride_x(1) = 2
many.Stride_y(1) = -8
Check "width", 4, many.Width
Check "bits", 16, many.Bits(1)
Check "encoding", 2, many.Encoding(1)
Check "offset", 48, many.Offset(1)
Check "x stride", 2, many.Stride_x(1)
Check "y stride", -8, many.Stride_y(1)
Check "an untouched channel", 8, many.Encoding(2)

Dim value
On Error Resume Next
value = many.Bits(3)
CheckCode "channel past the end", invalidArgument
many.Bits(-1) = 8
CheckCode "channel below 0", invalidArgument
many.Channels = -1
CheckCode "negative number of channels", invalidArgument
Check "channels", 3, many.Channels

' --- the factory
Dim factory, image, copy
Set factory = CreateObject("Tavlo.TavloFactory")
Check "size of a plane", 307200, factory.GetSizeFor(640, 480, 1, 640)
Set image = factory.Create(CreateObject("Tavlo.TavloDescriptor.2"), 1)
Check "a size of 0 is refused", True, Err.Number <> 0
Check "and described", "Creating the section failed: ", Left(Err.Description, 29)
Err.Clear
twelve.Width = 20
twelve.Height = 10
Set image = factory.Create(twelve, 1)
CheckCode "create", 0
Check "width of the image", 20, image.Descriptor.Width
Check "bits of the image", 12, image.Descriptor.Bits
Set copy = image.Clone(0)
CheckCode "clone", 0
Check "height of the clone", 10, copy.Descriptor.Height
Set value = copy.GetWriteAccess()
CheckCode "a read-only copy is never written", accessDenied
image.Dispose
CheckCode "dispose", 0
Set image = factory.Adopt("Tavlo test: nobody made this", twelve, 1)
Check "an unknown section", "Opening the section failed: ", Left(Err.Description, 28)
Err.Clear

WScript.Echo "done: " & checks & " checks"
