<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<!-- English texts of the engine. The sources are the engine's Russian texts;
     contexts are the classes as Qt names them at run time. -->
<TS version="2.1" language="en">
<context>
    <name>tessera::Engine</name>
    <message>
        <source>Не загружен драйвер %0</source>
        <translation>Driver %0 is not loaded</translation>
    </message>
    <message>
        <source>Инициализация %0 в оперативной памяти</source>
        <translation>Initialising %0 in memory</translation>
    </message>
    <message>
        <source>Поддержка расширений %0</source>
        <translation>Extension support of %0</translation>
    </message>
    <message>
        <source>Инициализация %0</source>
        <translation>Initialising %0</translation>
    </message>
    <message>
        <source>Не инициализировано</source>
        <translation>Not initialised</translation>
    </message>
    <message>
        <source>Загрузка расширения %0: %1</source>
        <translation>Loading extension %0: %1</translation>
    </message>
</context>
<context>
    <name>tessera::engine::EngineExpression</name>
    <message>
        <source>Ошибка создания таблицы для оценки выражений: </source>
        <translation>Error creating the table for evaluating expressions: </translation>
    </message>
</context>
<context>
    <name>QObject</name>
    <message>
        <source>проверьте корректность выражений в запросе</source>
        <translation>check that the expressions in the query are correct</translation>
    </message>
    <message>
        <source>Выражение</source>
        <translation>Expression</translation>
    </message>
</context>
</TS>
