// Writes a value into an image of its own and reads it back; the other pixels stay 0.
function checkPixel(what, encoding, bits, value, expected) {
    var addressor = attached(newImage(encoding, bits, 1));
    addressor.Pixel(2, 1) = value;
    check(what, expected, addressor.Pixel(2, 1));
    check(what + ", as the default member", expected, addressor(2, 1));
    for (var y = 0; y < 2; ++y)
        for (var x = 0; x < 3; ++x)
            if (x != 2 || y != 1)
                check(what + ", the pixel at " + x + ", " + y, 0, addressor(x, y));
}

// --- every encoding and bit depth that has single pixels
checkPixel("unsigned of 8 bits", 0, 8, 255, 255);
checkPixel("unsigned of 32 bits", 0, 32, 4294967295, 4294967295);
checkPixel("signed of 8 bits", 1, 8, -5, -5);
checkPixel("signed of 32 bits", 1, 32, -2147483648, -2147483648);
for (var bits = 9; bits <= 16; ++bits) {
    checkPixel("unsigned of " + bits + " bits", 0, bits, (1 << bits) - 1, (1 << bits) - 1);
    checkPixel("signed of " + bits + " bits", 1, bits, -(1 << (bits - 1)), -(1 << (bits - 1)));
}
checkPixel("12 bits take whatever 16 bits hold", 0, 12, 65535, 65535);
checkPixel("float of 32 bits", 2, 32, -0.5, -0.5);
checkPixel("float of 64 bits", 2, 64, 0.1, 0.1);

// --- colours are packed as R + G * 256 + B * 65536 + A * 16777216, whatever their order
checkPixel("RGB", 3, 24, 0x030201, 0x030201);
checkPixel("BGR", 5, 24, 0x030201, 0x030201);
checkPixel("RGBA", 4, 32, 0x84030201, 0x84030201);
checkPixel("BGRA", 13, 32, 0x84030201, 0x84030201);
checkPixel("RGBA from a signed number", 4, 32, 0x84030201 | 0, 0x84030201);
var colour = attached(newImage(5, 24, 1));
colour.Pixel(0, 0) = 1 + 2 * 256 + 3 * 65536;
check("red", 1, colour(0, 0) & 255);
check("green", 2, colour(0, 0) >> 8 & 255);
check("blue", 3, colour(0, 0) >> 16 & 255);

// --- what is put is converted to the pixel's type
checkPixel("text", 0, 8, "200", 200);
checkPixel("fractions are rounded", 0, 8, 17.6, 18);
checkPixel("true is -1, all bits of a byte", 0, 8, true, 255);

// --- refusals change nothing
var image = newImage(0, 8, 1);
var addressor = attached(image);
addressor.Pixel(1, 0) = 7;
checkError("text beyond the range", overflow, null, function () { addressor.Pixel(1, 0) = "300"; });
checkError("a number beyond the range", overflow, null, function () { addressor.Pixel(1, 0) = 256; });
checkError("a number below the range", overflow, null, function () { addressor.Pixel(1, 0) = -1; });
checkError("words", typeMismatch, null, function () { addressor.Pixel(1, 0) = "much"; });
checkError("null", typeMismatch, null, function () { addressor.Pixel(1, 0) = null; });
checkError("an object", typeMismatch, null, function () { addressor.Pixel(1, 0) = {}; });
check("the pixel", 7, addressor(1, 0));

// --- images that have no single pixels
function checkRefused(what, encoding, bits, description) {
    checkError(what, invalidArgument, description, function () { addressor.Attach(newImage(encoding, bits, 1)); });
}
checkRefused("unsigned of 64 bits", 0, 64, "Unsupported Tavlo Encoding");
checkRefused("signed of 64 bits", 1, 64, "Unsupported Tavlo Encoding");
checkRefused("complex", 10, 128, "Unsupported Tavlo Encoding");
checkRefused("data", 8, 4, "Unsupported Tavlo encoding/bits");
checkRefused("RGB of 32 bits", 3, 32, "Unsupported Tavlo encoding/bits");
checkError("a failed Attach lets the image go", accessDenied, null, function () { return addressor.Pixel(1, 0); });

// --- read-only images are read
addressor.Attach(image);
addressor.Pixel(0, 0) = 42;
var copy = attached(image.Clone(0));
check("a read-only copy", 42, copy(0, 0));
checkError("is not written", accessDenied, null, function () { copy.Pixel(0, 0) = 1; });
check("and stays", 42, copy(0, 0));

// --- the only writer is held until Detach
var second = attached(image);
checkError("a second writer", accessDenied, null, function () { second.Pixel(0, 0) = 1; });
addressor.Detach();
second.Attach(image);
second.Pixel(0, 0) = 43;
check("once the first lets go", 43, second(0, 0));
second.Detach();
checkError("nothing after Detach", accessDenied, null, function () { return second.Pixel(0, 0); });

WScript.Echo("done: " + checks + " checks");
