// Counts how often each grey value occurs and finds the darkest and the brightest.
//
//     cscript histogram.js

var Tavlo_Unsigned = 0;
var Tavlo_SingleWriter = 1;

var bits = 12;
var image = newImage(40, 30, bits);

// An addressor writes where the image lets it and reads everywhere.
var pixels = new ActiveXObject("Tavlo.Addressor");
pixels.Attach(image);
drawDisc(pixels, 20, 15, 10, 3000);

// Pixels are numbers as they are stored: 0 to 4095 for 12 bits.
var size = image.Descriptor;
var width = size.Width, height = size.Height; // asked once, not in the loop
var counts = [];
for (var value = 0; value < (1 << bits); ++value)
    counts[value] = 0;
for (var y = 0; y < height; ++y)
    for (var x = 0; x < width; ++x)
        ++counts[pixels(x, y)];

var darkest = -1, brightest = -1;
for (var value = 0; value < counts.length; ++value) {
    if (counts[value] == 0)
        continue;
    if (darkest < 0)
        darkest = value;
    brightest = value;
    WScript.Echo(value + ": " + counts[value]);
}
WScript.Echo("from " + darkest + " to " + brightest);

function newImage(columns, rows, depth) {
    var descriptor = new ActiveXObject("Tavlo.TavloDescriptor");
    descriptor.Encoding = Tavlo_Unsigned;
    descriptor.Bits = depth;
    descriptor.Width = columns;
    descriptor.Height = rows;
    var factory = new ActiveXObject("Tavlo.TavloFactory");
    return factory.Create(descriptor, Tavlo_SingleWriter);
}

function drawDisc(target, centreX, centreY, radius, grey) {
    for (var row = centreY - radius; row <= centreY + radius; ++row) {
        for (var column = centreX - radius; column <= centreX + radius; ++column) {
            var dx = column - centreX, dy = row - centreY;
            if (dx * dx + dy * dy <= radius * radius)
                target.Pixel(column, row) = grey;
        }
    }
}
