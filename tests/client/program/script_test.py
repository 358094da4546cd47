"""Runs scripts with the client program on images of other processes, and the samples that bind to
such an image.

script_test.py [--group NAME] -- RUNNER... PROGRAM; BIND_SAMPLE in the environment is the C++ sample.
"""

import os
import uuid

from program import ProgramTest, Running, main

SAMPLES = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "..", "samples", "binding")


class ScriptTest(ProgramTest):
    def publish_named(self, picture=None):
        return self.publish(picture or self.grey16(), name=f"script test {uuid.uuid4()}")

    def script(self, file, text, encoding="utf-8"):
        return self.write(file, text.encode(encoding))

    def run_script(self, publisher, file, text, *options, encoding="utf-8"):
        return self.run_program("script", self.script(file, text, encoding), "--name", publisher.name, *options)

    def paint(self, publisher, *options):
        self.assert_done(self.run_program("paint", publisher.name, *options))


class Scripts(ScriptTest):
    def test_the_image_is_there_in_both_languages(self):
        with self.publish_named() as publisher:
            for file, text in (
                ("a.vbs", 'WScript.Echo "it has", image.Descriptor.Width & " x " & image.Descriptor.Height'),
                ("a.js", 'WScript.Echo("it has", image.Descriptor.Width + " x " + image.Descriptor.Height);'),
            ):
                with self.subTest(file=file):
                    result = self.run_script(publisher, file, text)
                    self.assert_done(result)
                    self.assertEqual(result.output, "it has 37 x 11\n")

    def test_the_language_may_be_given(self):
        with self.publish_named() as publisher:
            for language, text in (("jscript", "WScript.Echo(1 + 1);"), ("VBScript", "WScript.Echo 1 + 1")):
                result = self.run_script(publisher, "a.txt", text, "--language", language)
                self.assert_done(result)
                self.assertEqual(result.output, "2\n")

    def test_what_echo_writes(self):
        with self.publish_named() as publisher:
            result = self.run_script(publisher, "a.vbs", 'WScript.Echo\nWScript.Echo "a", True, Null, 1.5, 7\nwscript.echo "b"')
            self.assert_done(result)
            self.assertEqual(result.output, "\na True null 1.5 7\nb\n")

    def test_scripts_are_unicode_in_every_form(self):
        text = 'WScript.Echo "Größe Δ 画像"'
        with self.publish_named() as publisher:
            for encoding in ("utf-8", "utf-8-sig", "utf-16"):
                with self.subTest(encoding=encoding):
                    result = self.run_script(publisher, "Größe 画像.vbs", text, encoding=encoding)
                    self.assert_done(result)
                    self.assertEqual(result.output, "Größe Δ 画像\n")

    def test_pixels_are_written_into_the_other_process(self):
        text = 'Set p = CreateObject("Tavlo.Addressor")\np.Attach image\np.Pixel(2, 1) = 4711\np.Detach'
        with self.publish_named() as publisher:
            self.assert_done(self.run_script(publisher, "a.vbs", text))
            self.assertEqual(self.export(publisher).samples[37 + 2], 4711)
            # Nothing of the script still holds write access.
            self.paint(publisher)

    def test_write_access_goes_with_a_script_that_fails(self):
        text = 'Set p = CreateObject("Tavlo.Addressor")\np.Attach image\np.Pixel(0, 0) = "x"'
        with self.publish_named() as publisher:
            self.assertEqual(self.run_script(publisher, "a.vbs", text).code, 1)
            self.paint(publisher)

    def test_events_in_both_languages(self):
        vbs = """
            n = 0
            Set reflector = WScript.CreateObject("Tavlo.TavloEventsReflector", "On_")
            reflector.Connect image
            WScript.Echo "ready"
            Do While n < 2
                WScript.Sleep 1000
            Loop
            reflector.Disconnect
            Sub On_OnImageUpdate(dirty)
                n = n + 1
                WScript.Echo dirty.Left & "," & dirty.Top & "," & dirty.Right & "," & dirty.Bottom
            End Sub
            """
        js = """
            var n = 0, reflector = new ActiveXObject("Tavlo.TavloEventsReflector");
            WScript.ConnectObject(reflector, "On_");
            reflector.Connect(image);
            WScript.Echo("ready");
            while (n < 2) WScript.Sleep(1000);
            reflector.Disconnect();
            WScript.DisconnectObject(reflector);
            function On_OnImageUpdate(dirty) {
                n++;
                WScript.Echo([dirty.Left, dirty.Top, dirty.Right, dirty.Bottom].join());
            }
            """
        with self.publish_named() as publisher:
            for file, text in (("a.vbs", vbs), ("a.js", js)):
                with self.subTest(file=file), self.start("script", self.script(file, text), "--name", publisher.name) as script:
                    self.assertEqual(script.next_line(), "ready\n")
                    self.paint(publisher, "--rect", "1,2,3,4")
                    self.assertEqual(script.next_line(), "1,2,3,4\n")
                    self.paint(publisher)
                    self.assertEqual(script.next_line(), "0,0,37,11\n")
                    self.assert_done(script.wait())
                    self.paint(publisher)

    def test_an_error_in_a_handler_ends_the_script(self):
        text = """
            Set reflector = WScript.CreateObject("Tavlo.TavloEventsReflector", "On_")
            reflector.Connect image
            WScript.Echo "ready"
            Do
                WScript.Sleep 1000
            Loop
            Sub On_OnImageUpdate(dirty)
                dirty.Nothing_Such
            End Sub
            """
        with self.publish_named() as publisher, \
                self.start("script", self.script("a.vbs", text), "--name", publisher.name) as script:
            self.assertEqual(script.next_line(), "ready\n")
            self.paint(publisher)
            result = script.wait()
            self.assert_failed(result, "cannot run 'a.vbs'", "doesn't support this property or method")

    def test_quit(self):
        with self.publish_named() as publisher:
            for text in ("WScript.Quit", "WScript.Quit 0", "On Error Resume Next\nWScript.Quit"):
                result = self.run_script(publisher, "a.vbs", text + '\nWScript.Echo "no"')
                self.assert_done(result)
                self.assertEqual(result.output, "")
            result = self.run_script(publisher, "a.js", 'WScript.Quit(3); WScript.Echo("no");')
            self.assert_failed(result, "tavlo: the script 'a.js' quit with 3\n")


class ScriptErrors(ScriptTest):
    def test_place_and_description(self):
        cases = [
            ("a.js", "var a;\n  a.b.c = 1;\n", "line 2, column 3: ", "JScript runtime error, 0x800A"),
            ("a.js", "var a = ;\n", "line 1, column 9: ", "Syntax error (Microsoft JScript compilation error, 0x800A03EA)"),
            ("a.vbs", "Dim a\na = = 1\n", "line 2, column ", "(Microsoft VBScript compilation error, 0x"),
            ("a.vbs", "Dim a\na = 1\n  a = 1 / 0\n", "line 3, column 3: ", "0x"),
            ("a.vbs", "WScript.Frob 3\n", "line 1, column 1: ", "doesn't support this property or method"),
            ("a.vbs", 'Set a = CreateObject("Tavlo.Addressor")\na.Attach Nothing\n', "line 2, column 1: ",
             "null ITavlo2 (0x80070057)"),
            ("a.js", 'WScript.CreateObject("No.Such");', "line 1, column 1: ", "cannot create the object 'No.Such': 0x800401F3"),
            ("a.vbs", "WScript.ConnectObject image, 1\n", "line 1, column 1: ", "cannot connect to the object's events"),
            ("a.vbs", "WScript.Sleep\n", "line 1, column 1: ", "0x"),
            ("a.vbs", "WScript.Sleep image\n", "line 1, column 1: ", "cannot read an argument: 0x"),
        ]
        with self.publish_named() as publisher:
            for file, text, *parts in cases:
                with self.subTest(text=text):
                    self.assert_failed(self.run_script(publisher, file, text), f"tavlo: cannot run '{file}': ", *parts)

    def test_errors_that_a_script_handles_are_its_own(self):
        text = 'On Error Resume Next\nSet x = WScript.CreateObject("No.Such")\nWScript.Echo Err.Description\n'
        with self.publish_named() as publisher:
            result = self.run_script(publisher, "a.vbs", text)
            self.assert_done(result)
            self.assertEqual(result.output, "cannot create the object 'No.Such': 0x800401F3\n")

    def test_what_is_missing(self):
        result = self.run_program("script", "missing.js", "--name", f"script test {uuid.uuid4()}")
        self.assert_failed(result, "cannot read the script 'missing.js'", "0x80070002")
        self.script("a.js", "")
        result = self.run_program("script", "a.js", "--name", f"script test {uuid.uuid4()}")
        self.assert_failed(result, "0x800401E3", "no image is published under this name")

    def test_wrong_usage(self):
        for arguments, part in (
            ([], "FILE is required"),
            (["a.js"], "NAME, or --section with --descriptor, is required"),
            (["a.txt", "--name", "n"], "--language, since FILE ends in neither .vbs nor .js, is required"),
            (["a.js", "--name", "n", "--language", "perl"], "perl"),
        ):
            with self.subTest(arguments=arguments):
                result = self.run_program("script", *arguments)
                self.assertEqual((result.code, result.output), (2, ""))
                self.assertIn(part, result.errors)


class Samples(ScriptTest):
    def test_cpp(self):
        with self.publish_named() as publisher:
            self.paint(publisher, "--value", "17")
            with Running(self.folder, publisher.name, other=os.environ["BIND_SAMPLE"]) as sample:
                for line in ("bound to 37 x 11 pixels\n", "the first byte is 17\n", "waiting for an update\n"):
                    self.assertEqual(sample.next_line().replace("\r", ""), line)
                self.paint(publisher, "--value", "18", "--rect", "0,0,5,6")
                result = sample.wait()
                self.assert_done(result)
                self.assertEqual(
                    result.output.replace("\r", ""), "updated: (0, 0) to (5, 6), the first byte is 18\ndone\n"
                )

    def test_cpp_without_the_image(self):
        name = f"script test {uuid.uuid4()}"
        with Running(self.folder, name, other=os.environ["BIND_SAMPLE"]) as sample:
            result = sample.wait()
            self.assertEqual(result.code, 1)
            self.assertRegex(result.output, r"^bind to the image.* \(0x800401E3\)\s*$")

    def test_javascript(self):
        with self.publish_named() as publisher:
            self.paint(publisher, "--value", "17")
            result = self.run_program("script", os.path.join(SAMPLES, "mean.js"), "--name", publisher.name)
            self.assert_done(result)
            self.assertEqual(result.output, "the mean of 10 pixels is 17.00\n")

    def test_vbscript(self):
        with self.publish_named() as publisher:
            with self.start("script", os.path.join(SAMPLES, "watch.vbs"), "--name", publisher.name) as script:
                self.assertEqual(script.next_line(), "watching 37 x 11 pixels\n")
                self.paint(publisher, "--rect", "1,2,3,4")
                self.assertEqual(script.next_line(), "1, 2 to 3, 4\n")
                self.paint(publisher)
                result = script.wait()
                self.assert_done(result)
                self.assertEqual(result.output, "0, 0 to 37, 11\n")


if __name__ == "__main__":
    main()
