@echo off
rem Undoes install.cmd, with the same --user or without. This folder can be deleted afterwards.
"%~dp0bin\tavlo.exe" unregister %*
exit /b %errorlevel%
