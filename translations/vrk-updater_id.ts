<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="id" sourcelanguage="en">
<context>
    <name>ApplicationController</name>
    <message>
        <source>Reboot</source>
        <translation>Mulai ulang</translation>
    </message>
    <message>
        <source>Welcome to updater</source>
        <translation>Selamat datang di program pembaruan</translation>
    </message>
    <message>
        <source>Failed to connect to backend service</source>
        <translation>Gagal terhubung ke layanan latar belakang</translation>
    </message>
    <message>
        <source>Error upgrading firmware: Please check USB drive</source>
        <translation>Gagal memperbarui firmware: harap periksa drive USB</translation>
    </message>
    <message>
        <source>Failed to initialize VRK library</source>
        <translation>Gagal menginisialisasi pustaka VRK</translation>
    </message>
    <message>
        <source>unknown</source>
        <translation>tidak diketahui</translation>
    </message>
    <message>
        <source>Please do not remove the usb drive or power off the device</source>
        <translation>Harap jangan melepas drive USB atau mematikan perangkat</translation>
    </message>
    <message>
        <source>Are you sure you want to update the system from %1 to %2?</source>
        <translation>Yakin ingin memperbarui sistem dari versi %1 ke versi %2?</translation>
    </message>
    <message>
        <source>Checking for updates</source>
        <translation>Memeriksa pembaruan</translation>
    </message>
    <message>
        <source>Required update files missing</source>
        <translation>File pembaruan yang diperlukan tidak ada</translation>
    </message>
    <message>
        <source>Error upgrading firmware: corrupt archive</source>
        <translation>Gagal memperbarui firmware: arsip rusak</translation>
    </message>
    <message>
        <source>Upgrading...</source>
        <translation>Memperbarui…</translation>
    </message>
    <message>
        <source>Error upgrading firmware</source>
        <translation>Gagal memperbarui firmware</translation>
    </message>
    <message>
        <source>ATMEGA update file missing: %1</source>
        <translation>File pembaruan ATMEGA tidak ada: %1</translation>
    </message>
    <message>
        <source>Error upgrading measurement board firmware</source>
        <translation>Gagal memperbarui firmware papan pengukuran</translation>
    </message>
    <message>
        <source>Please remove USB and then select Reboot</source>
        <translation>Harap lepaskan drive USB, lalu pilih “Mulai ulang”</translation>
    </message>
    <message>
        <source>Firmware upgrade successful</source>
        <translation>Firmware berhasil diperbarui</translation>
    </message>
    <message>
        <source>Cancelling...</source>
        <translation>Membatalkan…</translation>
    </message>
    <message>
        <source>Rebooting...</source>
        <translation>Memulai ulang…</translation>
    </message>
</context>
</TS>
