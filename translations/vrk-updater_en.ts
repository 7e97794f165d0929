<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en" sourcelanguage="en">
<context>
    <name>ApplicationController</name>
    <message>
        <source>Reboot</source>
        <translation>Reboot</translation>
    </message>
    <message>
        <source>Welcome to updater</source>
        <translation>Welcome to updater</translation>
    </message>
    <message>
        <source>Failed to connect to backend service</source>
        <translation>Failed to connect to backend service</translation>
    </message>
    <message>
        <source>Error upgrading firmware: Please check USB drive</source>
        <translation>Error upgrading firmware: Please check USB drive</translation>
    </message>
    <message>
        <source>Failed to initialize VRK library</source>
        <translation>Failed to initialize VRK library</translation>
    </message>
    <message>
        <source>unknown</source>
        <translation>unknown</translation>
    </message>
    <message>
        <source>Please do not remove the usb drive or power off the device</source>
        <translation>Please do not remove the usb drive or power off the device</translation>
    </message>
    <message>
        <source>Are you sure you want to update the system from %1 to %2?</source>
        <translation>Are you sure you want to update the system from %1 to %2?</translation>
    </message>
    <message>
        <source>Checking for updates</source>
        <translation>Checking for updates</translation>
    </message>
    <message>
        <source>Required update files missing</source>
        <translation>Required update files missing</translation>
    </message>
    <message>
        <source>Error upgrading firmware: corrupt archive</source>
        <translation>Error upgrading firmware: corrupt archive</translation>
    </message>
    <message>
        <source>Upgrading...</source>
        <translation>Upgrading...</translation>
    </message>
    <message>
        <source>Error upgrading firmware</source>
        <translation>Error upgrading firmware</translation>
    </message>
    <message>
        <source>ATMEGA update file missing: %1</source>
        <translation>ATMEGA update file missing: %1</translation>
    </message>
    <message>
        <source>Error upgrading measurement board firmware</source>
        <translation>Error upgrading measurement board firmware</translation>
    </message>
    <message>
        <source>Please remove USB and then select Reboot</source>
        <translation>Please remove USB and then select Reboot</translation>
    </message>
    <message>
        <source>Firmware upgrade successful</source>
        <translation>Firmware upgrade successful</translation>
    </message>
    <message>
        <source>Cancelling...</source>
        <translation>Cancelling...</translation>
    </message>
    <message>
        <source>Rebooting...</source>
        <translation>Rebooting...</translation>
    </message>
</context>
</TS>
