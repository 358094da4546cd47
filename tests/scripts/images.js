// --- the factory makes images
var factory = new ActiveXObject("Tavlo.TavloFactory.1");
var image = newImage(1, 16, 1);
check("width", 3, image.Descriptor.Width);
check("y stride", 6, image.Descriptor.Stride_y);
check("all bytes zero", 0, attached(image).Pixel(2, 1));
image.Descriptor.Width = 100;
check("a descriptor is a copy", 3, image.Descriptor.Width);

// --- the size of one plane
check("rows", 307200, factory.GetSizeFor(640, 480, 1, 640));
check("columns", 307200, factory.GetSizeFor(640, 480, -480, 1));
check("equal strides", 40, factory.GetSizeFor(10, 10, 4, 4));

// --- refusals
var descriptor = new ActiveXObject("Tavlo.TavloDescriptor");
function failure(action) {
    try {
        action();
    } catch (error) {
        return error;
    }
    return { number: 0, message: "" };
}
var none = failure(function () { factory.Create(descriptor, 1); });
check("a size of 0", true, none.number < 0);
check("described", "Creating the section failed: ", none.message.substr(0, 29));
descriptor.Encoding = 0;
descriptor.Width = 3;
descriptor.Height = 2;
var missing = failure(function () { factory.Adopt("Tavlo test: nobody made this", descriptor, 1); });
check("a section that is not there", -2147024894, missing.number);
check("described", "Opening the section failed: ", missing.message.substr(0, 28));
checkError("no descriptor", typeMismatch, null, function () { factory.Create(null, 1); });
var several = new ActiveXObject("Tavlo.TavloDescriptor.1");
check("a descriptor of several channels", true, failure(function () { factory.Create(several, 1); }).number < 0);

// --- clones
attached(image).Pixel(1, 1) = -300;
var copy = image.Clone(0);
check("the bytes of a clone", -300, attached(copy).Pixel(1, 1));
checkError("has a writer for good", accessDenied, null, function () { copy.GetWriteAccess(); });
checkError("also for addressors", accessDenied, null, function () { attached(copy).Pixel(1, 1) = 1; });
var writable = copy.Clone(1);
attached(writable).Pixel(1, 1) = 5;
check("a clone of it may be written", 5, attached(writable).Pixel(1, 1));
check("and leaves the other", -300, attached(copy).Pixel(1, 1));
image.Dispose();
check("dispose without a hook changes nothing", -300, attached(image).Pixel(1, 1));

WScript.Echo("done: " + checks + " checks");
