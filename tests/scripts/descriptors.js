// --- the descriptor of one channel derives what is not set
var one = new ActiveXObject("Tavlo.TavloDescriptor");
check("fresh encoding", 8, one.Encoding);
check("fresh bits", 0, one.Bits);
one.Encoding = 4;
one.Width = 10;
one.Height = 3;
check("bits of RGBA", 32, one.Bits);
check("x stride of RGBA", 4, one.Stride_x);
check("y stride of RGBA", 40, one.Stride_y);
one.Stride_x = -4;
check("y stride follows", -40, one.Stride_y);
check("offset of both mirrored", 116, one.Offset);

// --- the descriptor of several channels
var many = new ActiveXObject("Tavlo.TavloDescriptor.1");
many.Channels = 2;
check("channels", 2, many.Channels);
check("encoding of a new channel", 8, many.Encoding(1));
checkError("channel past the end", -2147024809, null, function () { return many.Offset(2); });
checkError("negative number of channels", -2147024809, null, function () { many.Channels = -1; });

// --- the factory
var factory = new ActiveXObject("Tavlo.TavloFactory");
check("size of a plane", 40, factory.GetSizeFor(10, 10, 4, 4));
var image = factory.Create(one, 2);
check("width of the image", 10, image.Descriptor.Width);
check("offset of the image", 116, image.Descriptor.Offset);
checkError("a read-only copy is never written", -2147024891, null, function () { image.Clone(0).GetWriteAccess(); });

WScript.Echo("done: " + checks + " checks");
