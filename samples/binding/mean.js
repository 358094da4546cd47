// Prints the mean of some pixels of a published grey image:
//
//     tavlo script mean.js scan
//
// The image lives in another process; its pixels are read from here.
var descriptor = image.Descriptor;
var pixels = WScript.CreateObject("Tavlo.Addressor");
pixels.Attach(image);

var sum = 0, count = 0;
for (var y = 0; y < descriptor.Height; y += 8) {
    for (var x = 0; x < descriptor.Width; x += 8) {
        sum += pixels.Pixel(x, y);
        count++;
    }
}
// An addressor takes write access where it can get it, which others may be waiting for.
pixels.Detach();
WScript.Echo("the mean of " + count + " pixels is " + (sum / count).toFixed(2));
