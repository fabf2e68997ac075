@echo off
rem Removes this folder's registration. Run it as administrator; then the folder can be deleted.
"%~dp0install.cmd" /u
