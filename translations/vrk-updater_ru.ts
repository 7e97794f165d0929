<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="ru" sourcelanguage="en">
<context>
    <name>ApplicationController</name>
    <message>
        <source>Reboot</source>
        <translation>Перезагрузить</translation>
    </message>
    <message>
        <source>Welcome to updater</source>
        <translation>Добро пожаловать в программу обновления</translation>
    </message>
    <message>
        <source>Failed to connect to backend service</source>
        <translation>Не удалось подключиться к фоновой службе</translation>
    </message>
    <message>
        <source>Error upgrading firmware: Please check USB drive</source>
        <translation>Ошибка обновления встроенного ПО: проверьте USB-накопитель</translation>
    </message>
    <message>
        <source>Failed to initialize VRK library</source>
        <translation>Не удалось инициализировать библиотеку VRK</translation>
    </message>
    <message>
        <source>unknown</source>
        <translatorcomment>Stands for the version after &quot;до&quot;, hence the genitive.</translatorcomment>
        <translation>неизвестной</translation>
    </message>
    <message>
        <source>Please do not remove the usb drive or power off the device</source>
        <translation>Не извлекайте USB-накопитель и не выключайте прибор</translation>
    </message>
    <message>
        <source>Are you sure you want to update the system from %1 to %2?</source>
        <translation>Действительно обновить систему с версии %1 до %2?</translation>
    </message>
    <message>
        <source>Checking for updates</source>
        <translation>Проверка обновления</translation>
    </message>
    <message>
        <source>Required update files missing</source>
        <translation>Отсутствуют необходимые файлы обновления</translation>
    </message>
    <message>
        <source>Error upgrading firmware: corrupt archive</source>
        <translation>Ошибка обновления встроенного ПО: архив повреждён</translation>
    </message>
    <message>
        <source>Upgrading...</source>
        <translation>Выполняется обновление…</translation>
    </message>
    <message>
        <source>Error upgrading firmware</source>
        <translation>Ошибка обновления встроенного ПО</translation>
    </message>
    <message>
        <source>ATMEGA update file missing: %1</source>
        <translation>Нет файла обновления ATMEGA: %1</translation>
    </message>
    <message>
        <source>Error upgrading measurement board firmware</source>
        <translation>Ошибка обновления встроенного ПО измерительной платы</translation>
    </message>
    <message>
        <source>Please remove USB and then select Reboot</source>
        <translation>Извлеките USB-накопитель, а затем выберите «Перезагрузить»</translation>
    </message>
    <message>
        <source>Firmware upgrade successful</source>
        <translation>Встроенное ПО успешно обновлено</translation>
    </message>
    <message>
        <source>Cancelling...</source>
        <translation>Отмена…</translation>
    </message>
    <message>
        <source>Rebooting...</source>
        <translation>Перезагрузка…</translation>
    </message>
</context>
</TS>
